// Owns CoreFoundation objects and converts texts and paths.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include <CoreFoundation/CoreFoundation.h>

namespace vestigo {

/// Owns one reference to an object, as a function with Create or Copy in its name returns it.
template <class Reference>
class OwnedReference {
public:
    OwnedReference() = default;
    explicit OwnedReference(Reference reference) : reference_(reference) {}
    OwnedReference(OwnedReference&& other) noexcept
        : reference_(std::exchange(other.reference_, nullptr)) {}
    OwnedReference& operator=(OwnedReference&& other) noexcept {
        std::swap(reference_, other.reference_);
        return *this;
    }
    ~OwnedReference() {
        if (reference_) CFRelease(reference_);
    }

    [[nodiscard]] Reference get() const { return reference_; }
    explicit operator bool() const { return reference_ != nullptr; }
    /// For a function that returns the reference through its argument. Only while this owns
    /// nothing.
    [[nodiscard]] Reference* receive() { return &reference_; }

private:
    Reference reference_ = nullptr;
};

/// The text of a string. Absent when the value is null, no string, or has no form in UTF-8.
[[nodiscard]] std::optional<std::string> textOf(CFTypeRef value);

/// Null when the path makes no URL.
[[nodiscard]] OwnedReference<CFURLRef> fileUrl(const std::string& path, bool isFolder);

}  // namespace vestigo
