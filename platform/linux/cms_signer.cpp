#include "platform/linux/cms_signer.h"

#include <climits>
#include <memory>

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/provider.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace vestigo {
namespace {

template <auto release>
struct Releaser {
    template <class Object>
    void operator()(Object* object) const {
        release(object);
    }
};

void freeCertificates(STACK_OF(X509) * certificates) {
    sk_X509_pop_free(certificates, X509_free);
}

void freeText(unsigned char* text) {
    OPENSSL_free(text);
}

using Message = std::unique_ptr<CMS_ContentInfo, Releaser<CMS_ContentInfo_free>>;
using Certificates = std::unique_ptr<STACK_OF(X509), Releaser<freeCertificates>>;
using KeyIdentifier = std::unique_ptr<ASN1_OCTET_STRING, Releaser<ASN1_OCTET_STRING_free>>;
using Text = std::unique_ptr<unsigned char, Releaser<freeText>>;

/// Leaves the thread's OpenSSL error queue as it was, since a malformed file is no error of the
/// program.
class QuietErrors {
public:
    QuietErrors() { ERR_set_mark(); }
    ~QuietErrors() { ERR_pop_to_mark(); }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
};

/// An OpenSSL context without any algorithms. Decoding a message also decodes the public key of
/// each certificate, which is not needed here and takes four fifths of the time; without
/// algorithms OpenSSL skips it. The context serves the whole program and is never
/// released.
OSSL_LIB_CTX* contextWithoutAlgorithms() {
    static auto* const context = [] {
        auto* const made = OSSL_LIB_CTX_new();
        if (made) OSSL_PROVIDER_load(made, "null");
        return made;
    }();
    return context;
}

Message decode(std::span<const std::byte> message) {
    if (message.empty() || message.size() > LONG_MAX) return nullptr;
    auto* content = CMS_ContentInfo_new_ex(contextWithoutAlgorithms(), nullptr);
    const auto* start = reinterpret_cast<const unsigned char*>(message.data());
    // On failure it releases the content and leaves null.
    if (content) d2i_CMS_ContentInfo(&content, &start, static_cast<long>(message.size()));
    return Message(content);
}

/// OpenSSL's own comparison of key identifiers needs a digest algorithm, which this context lacks.
bool hasKeyIdentifier(const X509* certificate, const ASN1_OCTET_STRING* identifier) {
    const KeyIdentifier own(static_cast<ASN1_OCTET_STRING*>(
        X509_get_ext_d2i(certificate, NID_subject_key_identifier, nullptr, nullptr)));
    return own && ASN1_OCTET_STRING_cmp(own.get(), identifier) == 0;
}

X509* certificateOf(CMS_SignerInfo* signer, const Certificates& certificates) {
    ASN1_OCTET_STRING* identifier = nullptr;
    if (CMS_SignerInfo_get0_signer_id(signer, &identifier, nullptr, nullptr) != 1) return nullptr;
    for (int i = 0; i < sk_X509_num(certificates.get()); ++i) {
        auto* const certificate = sk_X509_value(certificates.get(), i);
        const bool matches = identifier ? hasKeyIdentifier(certificate, identifier)
                                        : CMS_SignerInfo_cert_cmp(signer, certificate) == 0;
        if (matches) return certificate;
    }
    return nullptr;
}

std::optional<std::string> utf8(const ASN1_STRING* string) {
    unsigned char* converted = nullptr;
    const auto length = ASN1_STRING_to_UTF8(&converted, string);
    if (length < 0) return std::nullopt;
    const Text text(converted);
    std::string name(reinterpret_cast<const char*>(converted), static_cast<std::size_t>(length));
    if (name.empty() || name.find('\0') != std::string::npos) return std::nullopt;
    return name;
}

std::optional<std::string> commonName(const X509* certificate) {
    const auto* const subject = X509_get_subject_name(certificate);
    int last = -1;
    for (int i = -1; (i = X509_NAME_get_index_by_NID(subject, NID_commonName, i)) >= 0;) last = i;
    if (last < 0) return std::nullopt;
    return utf8(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, last)));
}

}  // namespace

std::optional<std::string> signerCommonName(std::span<const std::byte> message) {
    const QuietErrors quiet;
    const auto content = decode(message);
    if (!content) return std::nullopt;
    auto* const signers = CMS_get0_SignerInfos(content.get());
    if (!signers || sk_CMS_SignerInfo_num(signers) < 1) return std::nullopt;
    const Certificates certificates(CMS_get1_certs(content.get()));
    if (!certificates) return std::nullopt;
    const auto* const own = certificateOf(sk_CMS_SignerInfo_value(signers, 0), certificates);
    return own ? commonName(own) : std::nullopt;
}

}  // namespace vestigo
