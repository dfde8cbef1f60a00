// Owns a file descriptor, and repeats calls that a signal has interrupted.
#pragma once

#include <cerrno>
#include <type_traits>
#include <utility>

#include <unistd.h>

namespace vestigo {

class Descriptor {
public:
    Descriptor() = default;
    /// Takes ownership; a negative number owns nothing.
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }

    [[nodiscard]] int get() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_ = -1;
};

/// Repeats a call for as long as a signal interrupts it, and returns its result. A call that
/// returns a pointer fails with null, any other with a negative number.
template <class Call>
auto retrying(Call call) {
    const auto interrupted = [](const auto& result) {
        if constexpr (std::is_pointer_v<std::decay_t<decltype(result)>>) {
            return !result && errno == EINTR;
        } else {
            return result < 0 && errno == EINTR;
        }
    };
    auto result = call();
    while (interrupted(result)) result = call();
    return result;
}

}  // namespace vestigo
