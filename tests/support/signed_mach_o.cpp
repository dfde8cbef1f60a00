#include "tests/support/signed_mach_o.h"

#include <memory>
#include <stdexcept>

#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "tests/support/mach_o_maker.h"

namespace vestigo::test {
namespace {

struct Identity {
    std::shared_ptr<EVP_PKEY> key;
    std::shared_ptr<X509> certificate;
};

void require(bool worked) {
    if (!worked) throw std::runtime_error("OpenSSL refused to make a test signature");
}

void addName(X509* certificate, const std::string& commonName) {
    // The plain string type, so that bytes that are no UTF-8 can be put in.
    require(X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate), NID_commonName,
                                       V_ASN1_UTF8STRING,
                                       reinterpret_cast<const unsigned char*>(commonName.data()),
                                       static_cast<int>(commonName.size()), -1, 0) == 1);
}

void addKeyIdentifier(X509* certificate) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, NID_subject_key_identifier, "hash"),
        X509_EXTENSION_free);
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

/// Self-signed without an issuer.
Identity newIdentity(const std::vector<std::string>& commonNames, long serial,
                     const Identity* issuer = nullptr) {
    const Identity made{{EVP_EC_gen("P-256"), EVP_PKEY_free}, {X509_new(), X509_free}};
    auto* const certificate = made.certificate.get();
    X509_set_version(certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
    for (const auto& name : commonNames) addName(certificate, name);
    const auto& by = issuer ? *issuer : made;
    require(X509_set_issuer_name(certificate, X509_get_subject_name(by.certificate.get())) == 1);
    require(X509_set_pubkey(certificate, made.key.get()) == 1);
    addKeyIdentifier(certificate);
    require(X509_sign(certificate, by.key.get(), EVP_sha256()) > 0);
    return made;
}

std::string encoded(CMS_ContentInfo* message) {
    unsigned char* bytes = nullptr;
    const auto length = i2d_CMS_ContentInfo(message, &bytes);
    require(length > 0);
    std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    OPENSSL_free(bytes);
    return text;
}

std::string blob(std::uint32_t magic, const std::string& content) {
    return bigEndian(magic) + bigEndian(content.size() + 8) + content;
}

}  // namespace

std::string signatureMessage(const MessageOptions& options) {
    const auto root = newIdentity({"Root"}, 1);
    const auto middle = newIdentity({"Middle"}, 2, &root);
    const auto signer = newIdentity(options.commonNames, 3, &middle);

    unsigned flags = CMS_DETACHED | CMS_BINARY | CMS_PARTIAL | CMS_NOSMIMECAP;
    if (options.byKeyIdentifier) flags |= CMS_USE_KEYID;
    if (options.withoutCertificates) flags |= CMS_NOCERTS;
    const std::unique_ptr<BIO, decltype(&BIO_free)> content(BIO_new_mem_buf("code", 4), BIO_free);
    const std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)> message(
        CMS_sign(nullptr, nullptr, nullptr, content.get(), flags), CMS_ContentInfo_free);
    require(message != nullptr);
    // The encoding sorts the certificates: the authorities' are shorter and come first.
    if (!options.withoutCertificates) {
        require(CMS_add1_cert(message.get(), root.certificate.get()) == 1);
        require(CMS_add1_cert(message.get(), middle.certificate.get()) == 1);
    }
    require(CMS_add1_signer(message.get(), signer.certificate.get(), signer.key.get(), EVP_sha256(),
                            flags));
    require(CMS_final(message.get(), content.get(), nullptr, flags) == 1);
    return encoded(message.get());
}

std::string codeDirectory(const std::string& team, std::uint32_t version) {
    const std::string identifier("com.example.tool", 17);
    constexpr std::uint32_t fixedPart = 88;
    const auto teamOffset = team.empty() ? 0 : fixedPart + identifier.size();
    auto content = bigEndian(version) + bigEndian(0) + bigEndian(fixedPart) + bigEndian(fixedPart);
    content.resize(40);
    content += bigEndian(teamOffset);
    content.resize(fixedPart - 8);
    content += identifier;
    if (!team.empty()) content += team + '\0';
    return blob(0xFADE0C02, content);
}

std::string superBlob(const std::vector<std::pair<std::uint32_t, std::string>>& blobs) {
    auto index = bigEndian(blobs.size());
    std::string content;
    for (const auto& [slot, bytes] : blobs) {
        index += bigEndian(slot) + bigEndian(12 + 8 * blobs.size() + content.size());
        content += bytes;
    }
    return blob(0xFADE0CC0, index + content);
}

std::string embeddedSignature(const std::string& team, const std::string& message) {
    return superBlob(
        {{codeDirectorySlot, codeDirectory(team)}, {messageSlot, blob(0xFADE0B01, message)}});
}

std::string machOImage(std::uint32_t cpu, const std::optional<std::string>& signature,
                       bool bigEndian) {
    const auto word = bigEndian ? test::bigEndian : test::littleEndian;
    const auto otherCommand = word(0x1B) + word(24) + std::string(16, 'u');
    constexpr std::uint32_t signatureOffset = 4096;

    auto image = word(thinMagic(cpu)) + word(cpu) + word(0) + word(2) + word(signature ? 2 : 1) +
                 word(signature ? 40 : 24) + word(0);
    if (thinMagic(cpu) == thinMagic(cpuX86_64)) image += word(0);
    image += otherCommand;
    if (!signature) return image;
    image += word(0x1D) + word(16) + word(signatureOffset) + word(signature->size());
    image.resize(signatureOffset);
    return image + *signature;
}

std::string universalFile(const std::vector<std::pair<std::uint32_t, std::string>>& images,
                          bool wide) {
    auto header = bigEndian(wide ? 0xCAFEBABF : 0xCAFEBABE) + bigEndian(images.size());
    const auto field = [wide](std::size_t value) {
        return (wide ? bigEndian(0) : "") + bigEndian(value);
    };
    std::string content;
    for (const auto& [cpu, image] : images) {
        header += bigEndian(cpu) + bigEndian(0) + field(4096 + content.size()) +
                  field(image.size()) + bigEndian(12) + (wide ? bigEndian(0) : "");
        content += image;
    }
    header.resize(4096);
    return header + content;
}

}  // namespace vestigo::test
