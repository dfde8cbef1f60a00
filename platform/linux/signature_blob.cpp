// A signature is found through four tables: the universal header leads to an image, the image's
// load commands lead to the super blob, its index leads to the code directories and to the signed
// message. Each level is a ByteRange of the one above, so an offset can never lead out of its
// parent, and every count and length has a limit of its own. So a hostile file costs no more time
// and memory than a real one, and no value from the file is used before it was checked.
#include "platform/linux/signature_blob.h"

#include <array>

namespace vestigo {
namespace {

constexpr std::uint32_t fatMagic = 0xCAFEBABE;
constexpr std::uint32_t fatMagic64 = 0xCAFEBABF;
constexpr std::uint32_t imageMagic32 = 0xFEEDFACE;
constexpr std::uint32_t imageMagic64 = 0xFEEDFACF;
constexpr std::uint32_t cpuX86_64 = 0x01000007;
constexpr std::uint32_t cpuArm64 = 0x0100000C;
constexpr std::uint32_t codeSignatureCommand = 0x1D;  // LC_CODE_SIGNATURE

constexpr std::uint32_t superBlobMagic = 0xFADE0CC0;
constexpr std::uint32_t codeDirectoryMagic = 0xFADE0C02;
constexpr std::uint32_t blobWrapperMagic = 0xFADE0B01;
constexpr std::uint32_t codeDirectorySlot = 0;
constexpr std::uint32_t firstAlternateSlot = 0x1000;
constexpr std::uint32_t lastAlternateSlot = 0x1004;
constexpr std::uint32_t signatureSlot = 0x10000;
constexpr std::uint32_t firstVersionWithTeam = 0x20200;

// Limits far above real values, but low enough that a hostile file costs no noticeable time or
// memory.
constexpr std::uint32_t maxUniversalEntries = 64;
constexpr std::uint32_t maxLoadCommandBytes = 16U << 20U;
constexpr std::uint64_t maxBlobEntries = 64;
constexpr std::uint64_t maxTeamIdentifierBytes = 256;

template <std::size_t length>
std::optional<std::array<std::byte, length>> readArray(const ByteSource& source,
                                                       std::uint64_t offset) {
    std::array<std::byte, length> bytes;
    if (!source.read(offset, bytes)) return std::nullopt;
    return bytes;
}

/// Returns 0, which is no magic number, if the source is too short.
std::uint32_t magicOf(const ByteSource& source) {
    const auto bytes = readArray<4>(source, 0);
    return bytes ? numberAt<std::uint32_t>(*bytes, 0) : 0;
}

/// The image with the lowest value is preferred.
int preference(std::uint32_t cpu) {
    return cpu == cpuArm64 ? 0 : cpu == cpuX86_64 ? 1 : 2;
}

ByteRange imageOfEntry(const ByteSource& file, std::span<const std::byte> entry, bool wide) {
    return wide ? ByteRange(file, numberAt<std::uint64_t>(entry, 8),
                            numberAt<std::uint64_t>(entry, 16))
                : ByteRange(file, numberAt<std::uint32_t>(entry, 8),
                            numberAt<std::uint32_t>(entry, 12));
}

/// The image of a universal file whose signature counts for the file; empty when it has none.
ByteRange chosenImage(const ByteSource& file, bool wide) {
    ByteRange none(file, 0, 0);
    const auto header = readArray<8>(file, 0);
    if (!header) return none;
    const std::size_t entrySize = wide ? 32 : 20;
    const auto count = std::min<std::uint64_t>(
        {numberAt<std::uint32_t>(*header, 4), maxUniversalEntries, (file.size() - 8) / entrySize});
    const auto table = readBytes(file, 8, count * entrySize);
    if (!table || table->empty()) return none;

    std::span<const std::byte> best;
    int bestPreference = 3;
    for (std::size_t at = 0; at < table->size(); at += entrySize) {
        const auto entry = std::span(*table).subspan(at, entrySize);
        const auto entryPreference = preference(numberAt<std::uint32_t>(entry, 0));
        if (entryPreference >= bestPreference) continue;
        best = entry;
        bestPreference = entryPreference;
    }
    return imageOfEntry(file, best, wide);
}

/// The offsets of the needed blobs in a super blob.
struct BlobPlaces {
    std::vector<std::uint32_t> codeDirectories;  ///< The main one first.
    std::optional<std::uint32_t> message;
};

BlobPlaces blobPlaces(std::span<const std::byte> index) {
    BlobPlaces places;
    for (std::size_t at = 0; at < index.size(); at += 8) {
        const auto slot = numberAt<std::uint32_t>(index, at);
        const auto offset = numberAt<std::uint32_t>(index, at + 4);
        if (slot == codeDirectorySlot) {
            places.codeDirectories.insert(places.codeDirectories.begin(), offset);
        } else if (slot >= firstAlternateSlot && slot <= lastAlternateSlot) {
            places.codeDirectories.push_back(offset);
        } else if (slot == signatureSlot && !places.message) {
            places.message = offset;
        }
    }
    return places;
}

/// The content of the wrapper blob at `offset`; empty where there is none.
std::vector<std::byte> wrappedMessage(const ByteSource& superBlob, std::uint64_t offset) {
    const auto header = readArray<8>(superBlob, offset);
    if (!header || numberAt<std::uint32_t>(*header, 0) != blobWrapperMagic) return {};
    const auto length = numberAt<std::uint32_t>(*header, 4);
    if (length < 8 || length - 8 > largestSignatureMessage) return {};
    return readBytes(superBlob, offset + 8, length - 8).value_or(std::vector<std::byte>());
}

CodeSignature readSuperBlob(const ByteSource& place) {
    const auto header = readArray<12>(place, 0);
    if (!header || numberAt<std::uint32_t>(*header, 0) != superBlobMagic) return {};
    const ByteRange superBlob(place, 0, numberAt<std::uint32_t>(*header, 4));
    const auto count = std::min<std::uint64_t>(numberAt<std::uint32_t>(*header, 8), maxBlobEntries);
    const auto index = readBytes(superBlob, 12, count * 8);
    if (!index) return {};

    const auto places = blobPlaces(*index);
    CodeSignature signature;
    if (places.message) signature.message = wrappedMessage(superBlob, *places.message);
    for (const auto offset : places.codeDirectories) {
        signature.teamIdentifier = teamIdentifierOf(ByteRange(superBlob, offset, superBlob.size()));
        if (signature.teamIdentifier) break;
    }
    return signature;
}

/// The place of the signature as given by the load commands; empty when they give none.
ByteRange signaturePlace(const ByteSource& image, std::span<const std::byte> commands,
                         std::endian order) {
    while (commands.size() >= 8) {
        const auto size = numberAt<std::uint32_t>(commands, 4, order);
        if (size < 8 || size > commands.size()) break;
        if (numberAt<std::uint32_t>(commands, 0, order) == codeSignatureCommand && size >= 16) {
            return {image, numberAt<std::uint32_t>(commands, 8, order),
                    numberAt<std::uint32_t>(commands, 12, order)};
        }
        commands = commands.subspan(size);
    }
    return {image, 0, 0};
}

std::optional<std::endian> byteOrderOf(std::span<const std::byte> imageHeader) {
    for (const auto order : {std::endian::little, std::endian::big}) {
        const auto magic = numberAt<std::uint32_t>(imageHeader, 0, order);
        if (magic == imageMagic32 || magic == imageMagic64) return order;
    }
    return std::nullopt;
}

std::optional<CodeSignature> readImage(const ByteSource& image) {
    const auto header = readArray<28>(image, 0);
    const auto order = header ? byteOrderOf(*header) : std::nullopt;
    if (!order) return std::nullopt;
    const bool is64 = numberAt<std::uint32_t>(*header, 0, *order) == imageMagic64;
    const auto commandBytes = numberAt<std::uint32_t>(*header, 20, *order);
    if (commandBytes > maxLoadCommandBytes) return CodeSignature();
    const auto commands = readBytes(image, is64 ? 32 : 28, commandBytes);
    if (!commands) return CodeSignature();
    return readSuperBlob(signaturePlace(image, *commands, *order));
}

}  // namespace

std::optional<CodeSignature> readCodeSignature(const ByteSource& file) {
    const auto magic = magicOf(file);
    if (magic != fatMagic && magic != fatMagic64) return readImage(file);
    return readImage(chosenImage(file, magic == fatMagic64));
}

std::optional<std::string> teamIdentifierOf(const ByteSource& codeDirectory) {
    const auto header = readArray<52>(codeDirectory, 0);
    if (!header || numberAt<std::uint32_t>(*header, 0) != codeDirectoryMagic ||
        numberAt<std::uint32_t>(*header, 8) < firstVersionWithTeam) {
        return std::nullopt;
    }
    const auto offset = numberAt<std::uint32_t>(*header, 48);
    if (offset == 0) return std::nullopt;
    const ByteRange whole(codeDirectory, 0, numberAt<std::uint32_t>(*header, 4));
    const ByteRange text(whole, offset, maxTeamIdentifierBytes);
    const auto bytes = readBytes(text, 0, text.size());
    if (!bytes) return std::nullopt;
    // A team identifier consists of letters and digits; anything unprintable is not shown.
    std::string team;
    for (const auto byte : *bytes) {
        const auto character = std::to_integer<char>(byte);
        if (character == '\0') break;
        if (character < ' ' || character > '~') return std::nullopt;
        team += character;
    }
    if (team.empty() || team.size() == bytes->size()) return std::nullopt;
    return team;
}

}  // namespace vestigo
