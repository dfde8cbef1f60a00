// The Security framework's answers, good and bad, given by one made here. Every object that is
// handed out counts until it is released.
#include <Security/Security.h>

#include "platform/macos/macos_code_signing.h"
#include "tests/support/test.h"

namespace {

enum Type : CFTypeID { string = 1, array, dictionary, certificate, other };

struct Object {
    Type type = other;
    std::string text = {};
    std::vector<const Object*> items = {};
};

/// What the framework answers, and what it has been asked. One object for each kind of thing: none
/// is taken for another.
struct Framework {
    Object url, code, requirement;
    Object information{dictionary};
    Object leaf{certificate}, issuer{certificate};
    Object chain{array, {}, {&leaf, &issuer}};
    Object name{string, "Developer ID Application: Żółw (AB12CD34EF)"};
    Object team{string, "AB12CD34EF"};
    const Object* chainGiven = &chain;
    const Object* teamGiven = &team;

    const Object* refused = nullptr;  ///< What cannot be given, with an error,
    const Object* missing = nullptr;  ///< or without one.
    bool valid = true;

    int held = 0;  ///< References given out and not released.
    int pools = 0;
    std::string path;

    /// As a function with Create or Copy in its name gives it.
    template <class Reference>
    OSStatus give(const Object& object, Reference* place) {
        const bool given = &object != missing;
        if (given) ++held;
        *place = given ? (Reference)&object : nullptr;
        return &object == refused ? -67062 : 0;
    }
};

std::unique_ptr<Framework> framework;

const Object& objectOf(const void* reference) {
    return *static_cast<const Object*>(reference);
}

/// How the compiler lays out a constant string.
struct ConstantString {
    const void* classReference;
    int flags;
    const char* text;
    long length;
};

}  // namespace

extern "C" {
int __CFConstantStringClassReference[24];
const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFStringRef kSecCodeInfoCertificates = (CFStringRef)1;
const CFStringRef kSecCodeInfoTeamIdentifier = (CFStringRef)2;

void* objc_autoreleasePoolPush() {
    ++framework->pools;
    return nullptr;
}
void objc_autoreleasePoolPop(void*) {
    --framework->pools;
}
void CFRelease(CFTypeRef object) {
    ASSERT_NE(object, nullptr);
    --framework->held;
}
CFTypeID CFGetTypeID(CFTypeRef object) {
    return objectOf(object).type;
}
CFTypeID CFStringGetTypeID() {
    return string;
}
CFTypeID CFArrayGetTypeID() {
    return array;
}
CFTypeID SecCertificateGetTypeID() {
    return certificate;
}
CFIndex CFStringGetLength(CFStringRef text) {
    return static_cast<CFIndex>(objectOf(text).text.size());
}
CFIndex CFStringGetBytes(CFStringRef from, CFRange range, CFStringEncoding, UInt8, Boolean,
                         UInt8* buffer, CFIndex room, CFIndex* used) {
    const auto& text = objectOf(from).text;
    *used = range.length;
    if (buffer && room >= range.length) text.copy((char*)buffer, text.size());
    return range.length;
}
CFIndex CFArrayGetCount(CFArrayRef chain) {
    return static_cast<CFIndex>(objectOf(chain).items.size());
}
const void* CFArrayGetValueAtIndex(CFArrayRef chain, CFIndex index) {
    return objectOf(chain).items.at(static_cast<std::size_t>(index));
}
const void* CFDictionaryGetValue(CFDictionaryRef information, const void* key) {
    EXPECT_EQ(&objectOf(information), &framework->information);
    return key == kSecCodeInfoCertificates ? framework->chainGiven : framework->teamGiven;
}
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* path, CFIndex length,
                                                 Boolean isFolder) {
    EXPECT_FALSE(isFolder);
    framework->path.assign((const char*)path, static_cast<std::size_t>(length));
    CFURLRef result = nullptr;
    framework->give(framework->url, &result);
    return result;
}
OSStatus SecStaticCodeCreateWithPath(CFURLRef url, SecCSFlags flags, SecStaticCodeRef* code) {
    EXPECT_EQ(&objectOf(url), &framework->url);
    EXPECT_EQ(flags, 0U);
    return framework->give(framework->code, code);
}
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags,
                                        SecRequirementRef* result) {
    EXPECT_STREQ(((const ConstantString*)text)->text, "anchor apple");
    EXPECT_EQ(flags, 0U);
    return framework->give(framework->requirement, result);
}
OSStatus SecStaticCodeCheckValidity(SecStaticCodeRef code, SecCSFlags flags,
                                    SecRequirementRef requirement) {
    EXPECT_EQ(&objectOf(code), &framework->code);
    EXPECT_EQ(flags, 0U);
    // Without one, any valid signature would count as Apple's.
    EXPECT_EQ(&objectOf(requirement), &framework->requirement);
    return framework->valid ? 0 : -67062;
}
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags,
                                       CFDictionaryRef* result) {
    EXPECT_EQ(&objectOf(code), &framework->code);
    EXPECT_EQ(flags, 2U);
    return framework->give(framework->information, result);
}
OSStatus SecCertificateCopyCommonName(SecCertificateRef leaf, CFStringRef* name) {
    EXPECT_EQ(&objectOf(leaf), &framework->leaf);
    return framework->give(framework->name, name);
}
}

namespace vestigo {
namespace {

struct MacOSCodeSigningTest : testing::Test {
    MacOSCodeSigningTest() { framework = std::make_unique<Framework>(); }
    ~MacOSCodeSigningTest() override {
        EXPECT_EQ(framework->held, 0);
        EXPECT_EQ(framework->pools, 0);
    }
    static std::unique_ptr<StaticCode> code() { return MacOSCodeSigning().staticCode("/A.app"); }
    static std::optional<SigningInformation> information() { return code()->signingInformation(); }

    /// Where it cannot be given, with an error and without one.
    static void without(const Object& object, const std::function<void()>& expectation) {
        for (auto* const lack : {&framework->refused, &framework->missing}) {
            *lack = &object;
            expectation();
            *lack = nullptr;
        }
    }
};

TEST_F(MacOSCodeSigningTest, GivesLeafNameAndTeam) {
    const auto found = information();
    ASSERT_TRUE(found);
    EXPECT_EQ(framework->path, "/A.app");
    EXPECT_EQ(found->leafCommonName, framework->name.text);
    EXPECT_EQ(found->teamIdentifier, framework->team.text);
}

TEST_F(MacOSCodeSigningTest, HasNoCodeAndNoSignatureWhereTheFrameworkHasNone) {
    without(framework->code, [] { EXPECT_EQ(code(), nullptr); });
    without(framework->information, [] { EXPECT_FALSE(information()); });
    framework->missing = &framework->url;
    EXPECT_EQ(code(), nullptr);
}

TEST_F(MacOSCodeSigningTest, IsAnchoredOnlyWhenTheCheckOfTheRequirementSaysSo) {
    EXPECT_TRUE(code()->isAnchoredToApple());
    without(framework->requirement, [] { EXPECT_FALSE(code()->isAnchoredToApple()); });
    framework->valid = false;
    EXPECT_FALSE(code()->isAnchoredToApple());
}

TEST_F(MacOSCodeSigningTest, NamesNobodyWithoutACertificateThatIsOne) {
    const Object empty{array};
    const Object stranger{array, {}, {&framework->team}};
    const Object* const wrong[] = {nullptr, &empty, &stranger, &framework->team};
    for (const auto* const chain : wrong) {
        framework->chainGiven = chain;
        EXPECT_FALSE(information()->leafCommonName);
        EXPECT_EQ(information()->teamIdentifier, framework->team.text);
    }
    framework->chainGiven = &framework->chain;
    framework->teamGiven = &framework->leaf;
    framework->refused = &framework->name;
    EXPECT_FALSE(information()->leafCommonName);
    EXPECT_FALSE(information()->teamIdentifier);
}

}  // namespace
}  // namespace vestigo
