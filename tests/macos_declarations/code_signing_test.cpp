// The Security framework's answers, good and bad, given by one made here. Every object that is
// handed out counts until it is released.
#include <Security/Security.h>

#include "platform/macos/macos_code_signing.h"
#include "tests/support/test.h"

namespace {

enum Type : CFTypeID { string = 1, array, dictionary, certificate, other };
constexpr OSStatus refused = -67062;

struct Object {
    Type type = other;
    std::string text = {};
    std::vector<const Object*> items = {};
};

/// What the framework is to answer, and what it has been asked.
struct Framework {
    OSStatus codeStatus = 0, requirementStatus = 0, validity = 0, informationStatus = 0,
             nameStatus = 0;
    const Object* code = nullptr;
    const Object* requirement = nullptr;
    const Object* information = nullptr;
    const Object* chain = nullptr;
    const Object* team = nullptr;
    const Object* name = nullptr;

    const Object* leaf = nullptr;

    int held = 0;  ///< References given out and not released.
    int pools = 0;
    std::string path;

    /// As a function with Create or Copy in its name gives it.
    template <class Reference>
    OSStatus give(const Object* object, Reference* place, OSStatus status) {
        if (object) ++held;
        *place = (Reference)object;
        return status;
    }
};

Framework framework;
const Object fileUrl;

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
    ++framework.pools;
    return nullptr;
}
void objc_autoreleasePoolPop(void*) {
    --framework.pools;
}

void CFRelease(CFTypeRef object) {
    ASSERT_NE(object, nullptr);
    --framework.held;
}
CFTypeID CFGetTypeID(CFTypeRef object) {
    return static_cast<const Object*>(object)->type;
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
    return static_cast<CFIndex>(((const Object*)text)->text.size());
}
CFIndex CFStringGetBytes(CFStringRef from, CFRange range, CFStringEncoding, UInt8, Boolean,
                         UInt8* buffer, CFIndex room, CFIndex* used) {
    const auto& text = ((const Object*)from)->text;
    *used = range.length;
    if (buffer && room >= range.length) text.copy((char*)buffer, text.size());
    return range.length;
}
CFIndex CFArrayGetCount(CFArrayRef chain) {
    return static_cast<CFIndex>(((const Object*)chain)->items.size());
}
const void* CFArrayGetValueAtIndex(CFArrayRef chain, CFIndex index) {
    return ((const Object*)chain)->items.at(static_cast<std::size_t>(index));
}
const void* CFDictionaryGetValue(CFDictionaryRef information, const void* key) {
    EXPECT_EQ((const Object*)information, framework.information);
    return key == kSecCodeInfoCertificates ? framework.chain : framework.team;
}
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* path, CFIndex length,
                                                 Boolean isFolder) {
    EXPECT_FALSE(isFolder);
    framework.path.assign((const char*)path, static_cast<std::size_t>(length));
    CFURLRef result = nullptr;
    framework.give(framework.path.empty() ? nullptr : &fileUrl, &result, 0);
    return result;
}
OSStatus SecStaticCodeCreateWithPath(CFURLRef url, SecCSFlags flags, SecStaticCodeRef* code) {
    EXPECT_EQ((const Object*)url, &fileUrl);
    EXPECT_EQ(flags, 0U);
    return framework.give(framework.code, code, framework.codeStatus);
}
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags,
                                        SecRequirementRef* result) {
    EXPECT_STREQ(((const ConstantString*)text)->text, "anchor apple");
    EXPECT_EQ(flags, 0U);
    return framework.give(framework.requirement, result, framework.requirementStatus);
}
OSStatus SecStaticCodeCheckValidity(SecStaticCodeRef code, SecCSFlags flags,
                                    SecRequirementRef requirement) {
    EXPECT_EQ((const Object*)code, framework.code);
    EXPECT_EQ(flags, 0U);
    // Without one, any valid signature would count as Apple's.
    EXPECT_EQ((const Object*)requirement, framework.requirement);
    return framework.validity;
}
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags,
                                       CFDictionaryRef* result) {
    EXPECT_EQ((const Object*)code, framework.code);
    EXPECT_EQ(flags, 2U);
    return framework.give(framework.information, result, framework.informationStatus);
}
OSStatus SecCertificateCopyCommonName(SecCertificateRef certificate, CFStringRef* name) {
    EXPECT_EQ((const Object*)certificate, framework.leaf);
    return framework.give(framework.name, name, framework.nameStatus);
}
}

namespace vestigo {
namespace {

class MacOSCodeSigningTest : public testing::Test {
protected:
    MacOSCodeSigningTest() {
        framework = {};
        framework.code = &code;
        framework.requirement = &requirement;
        framework.information = &signature;
        framework.leaf = &leaf;
        framework.chain = &chain;
        framework.name = &name;
        framework.team = &team;
    }
    ~MacOSCodeSigningTest() override {
        EXPECT_EQ(framework.held, 0);
        EXPECT_EQ(framework.pools, 0);
    }
    static std::optional<SigningInformation> information() {
        return MacOSCodeSigning().staticCode("/Applications/Foo.app")->signingInformation();
    }
    static bool anchored() { return MacOSCodeSigning().staticCode("/bin/ls")->isAnchoredToApple(); }

    // One for each kind of thing: none is taken for another.
    Object code, requirement;
    Object signature{dictionary};
    Object leaf{certificate}, issuer{certificate};
    Object chain{array, {}, {&leaf, &issuer}};
    Object name{string, "Developer ID Application: Żółw (AB12CD34EF)"};
    Object team{string, "AB12CD34EF"};
};

TEST_F(MacOSCodeSigningTest, GivesLeafNameAndTeam) {
    const auto found = information();
    ASSERT_TRUE(found);
    EXPECT_EQ(framework.path, "/Applications/Foo.app");
    EXPECT_EQ(found->leafCommonName, name.text);
    EXPECT_EQ(found->teamIdentifier, team.text);
}

TEST_F(MacOSCodeSigningTest, HasNoCodeWhereTheFrameworkHasNone) {
    EXPECT_EQ(MacOSCodeSigning().staticCode(""), nullptr);
    framework.codeStatus = refused;
    EXPECT_EQ(MacOSCodeSigning().staticCode("/etc/hosts"), nullptr);
    framework.codeStatus = 0;
    framework.code = nullptr;
    EXPECT_EQ(MacOSCodeSigning().staticCode("/etc/hosts"), nullptr);
}

TEST_F(MacOSCodeSigningTest, IsAnchoredOnlyWhenTheCheckOfTheRequirementSaysSo) {
    EXPECT_TRUE(anchored());
    framework.validity = refused;
    EXPECT_FALSE(anchored());
    framework.validity = 0;
    framework.requirementStatus = refused;
    EXPECT_FALSE(anchored());
    framework.requirementStatus = 0;
    framework.requirement = nullptr;
    EXPECT_FALSE(anchored());
}

TEST_F(MacOSCodeSigningTest, TellsAnUnreadableSignatureFromOneWithoutCertificates) {
    framework.informationStatus = refused;
    EXPECT_FALSE(information());
    framework.informationStatus = 0;
    const Object empty{array};
    const Object stranger{array, {}, {&team}};
    for (const Object* const wrong :
         std::vector<const Object*>{nullptr, &empty, &stranger, &team}) {
        framework.chain = wrong;
        const auto found = information();
        ASSERT_TRUE(found);
        EXPECT_FALSE(found->leafCommonName);
        EXPECT_EQ(found->teamIdentifier, team.text);
    }
    framework.chain = &chain;
    framework.nameStatus = refused;
    framework.team = &leaf;
    EXPECT_FALSE(information()->leafCommonName);
    EXPECT_FALSE(information()->teamIdentifier);
    framework.information = nullptr;
    EXPECT_FALSE(information());
}

}  // namespace
}  // namespace vestigo
