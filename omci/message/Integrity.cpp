#include "omci/message/Integrity.h"

#ifdef OMCI_WITH_LIBCRYPTO
#include <dlfcn.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#endif

#include <algorithm>
#include <memory>
#include <string>

namespace omci {

namespace {

constexpr std::uint32_t kPolynomial = 0x04C11DB7;

constexpr std::array<std::uint32_t, 256> makeCrcTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t state = byte << 24;
        for (int bit = 0; bit < 8; ++bit) state = (state & 0x80000000U) != 0 ? state << 1 ^ kPolynomial : state << 1;
        table[byte] = state;
    }
    return table;
}
constexpr std::array<std::uint32_t, 256> kCrcTable = makeCrcTable();

ByteView textBytes(const char* text, std::size_t size) {
    return {reinterpret_cast<const std::uint8_t*>(text), size};
}

void append(Bytes& to, ByteView from, std::size_t size) {
    const ByteView part = from.part(0, size);
    to.insert(to.end(), part.begin(), part.end());
    to.resize(to.size() + size - part.size(), 0);
}

}  // namespace

std::uint32_t continueCrc32(std::uint32_t state, ByteView bytes) {
    for (const std::uint8_t byte : bytes) state = state << 8 ^ kCrcTable[state >> 24 ^ byte];
    return state;
}

std::uint32_t crc32(ByteView bytes) {
    return finishCrc32(continueCrc32(kCrc32Begin, bytes));
}

#ifdef OMCI_WITH_LIBCRYPTO

namespace {

// libcrypto, loaded when a code of its kind is asked for first: by its tables of pointers alone it takes 0.4 MiB of
// each process's own memory, and ONUs of a fleet whose messages have a CRC-32 need nothing of it.
class Crypto {
public:
    // Null where the library is not there.
    static const Crypto* get() {
        static Crypto one;
        static const bool loaded = one.load();
        return loaded ? &one : nullptr;
    }

    EVP_MAC* cmac = nullptr;  // looked up once: finding an algorithm by its name takes longer than the code itself
    decltype(&EVP_MAC_CTX_new) newContext = nullptr;
    decltype(&EVP_MAC_CTX_free) freeContext = nullptr;
    decltype(&EVP_MAC_init) init = nullptr;
    decltype(&EVP_MAC_update) update = nullptr;
    decltype(&EVP_MAC_final) final = nullptr;
    decltype(&OSSL_PARAM_construct_utf8_string) text = nullptr;
    decltype(&OSSL_PARAM_construct_end) end = nullptr;
    decltype(&EVP_Digest) digest = nullptr;
    decltype(&EVP_md5) md5 = nullptr;

private:
    template <typename Function>
    bool find(const char* name, Function& function) {
        function = reinterpret_cast<Function>(dlsym(library_, name));
        return function != nullptr;
    }
    bool load() {
        library_ = dlopen("libcrypto.so.3", RTLD_NOW | RTLD_LOCAL);
        if (library_ == nullptr) return false;
        decltype(&EVP_MAC_fetch) fetch = nullptr;
        if (!find("EVP_MAC_fetch", fetch) || !find("EVP_MAC_CTX_new", newContext) ||
            !find("EVP_MAC_CTX_free", freeContext) || !find("EVP_MAC_init", init) || !find("EVP_MAC_update", update) ||
            !find("EVP_MAC_final", final) || !find("OSSL_PARAM_construct_utf8_string", text) ||
            !find("OSSL_PARAM_construct_end", end) || !find("EVP_Digest", digest) || !find("EVP_md5", md5))
            return false;
        cmac = fetch(nullptr, "CMAC", nullptr);
        return true;
    }

    void* library_ = nullptr;
};

}  // namespace

bool hasAes() {
    return Crypto::get() != nullptr && Crypto::get()->cmac != nullptr;
}

std::optional<AesKey> aesCmac(const AesKey& key, ByteView bytes) {
    if (!hasAes()) return std::nullopt;
    const Crypto& crypto = *Crypto::get();
    const std::unique_ptr<EVP_MAC_CTX, void (*)(EVP_MAC_CTX*)> context(crypto.newContext(crypto.cmac),
                                                                       crypto.freeContext);
    if (context == nullptr) return std::nullopt;
    char cipher[] = "AES-128-CBC";
    const OSSL_PARAM parameters[] = {crypto.text("cipher", cipher, 0), crypto.end()};
    AesKey code{};
    std::size_t size = 0;
    if (crypto.init(context.get(), key.data(), key.size(), parameters) != 1 ||
        crypto.update(context.get(), bytes.data(), bytes.size()) != 1 ||
        crypto.final(context.get(), code.data(), &size, code.size()) != 1 || size != code.size()) {
        return std::nullopt;
    }
    return code;
}

std::optional<std::array<std::uint8_t, 16>> md5(ByteView bytes) {
    const Crypto* const crypto = Crypto::get();
    if (crypto == nullptr) return std::nullopt;
    std::array<std::uint8_t, 16> digest{};
    unsigned size = 0;
    const bool made = crypto->digest(bytes.data(), bytes.size(), digest.data(), &size, crypto->md5(), nullptr) == 1;
    return made && size == digest.size() ? std::optional(digest) : std::nullopt;
}

#else

std::optional<std::array<std::uint8_t, 16>> md5(ByteView) {
    return std::nullopt;
}

bool hasAes() {
    return false;
}
std::optional<AesKey> aesCmac(const AesKey&, ByteView) {
    return std::nullopt;
}

#endif

std::optional<SessionKeys> sessionKeys(const AesKey& key) {
    const auto derived = [&key](const std::string& label) {
        return aesCmac(key, textBytes(label.data(), label.size()));
    };
    const auto omciIntegrity = derived("OMCIIntegrityKey");
    const auto ploamIntegrity = derived("PLOAMIntegrtyKey");  // spelt so, to be 16 letters
    const auto keyEncryption = derived("KeyEncryptionKey");
    if (!omciIntegrity || !ploamIntegrity || !keyEncryption) return std::nullopt;
    return SessionKeys{*omciIntegrity, *ploamIntegrity, *keyEncryption};
}

std::optional<AesKey> sessionKey(ByteView registrationId, ByteView serialNumber, ByteView ponTag) {
    constexpr std::size_t kRegistrationId = 36;
    AesKey first{};
    first.fill(0x55);
    Bytes text;
    append(text, registrationId, kRegistrationId);
    const auto master = aesCmac(first, text);
    if (!master) return std::nullopt;
    text.clear();
    append(text, serialNumber, 8);
    append(text, ponTag, 8);
    append(text, textBytes("SessionK", 8), 8);
    return aesCmac(*master, text);
}

std::optional<std::uint32_t> Integrity::codeOf(ByteView protectedBytes, Direction direction) const {
    if (kind_ == Kind::kCrc) return crc32(protectedBytes);
    if (kind_ == Kind::kNone) return std::nullopt;
    Bytes text;
    text.push_back(static_cast<std::uint8_t>(direction));
    text.insert(text.end(), protectedBytes.begin(), protectedBytes.end());
    const auto code = omci::aesCmac(key_, text);
    return code ? std::optional<std::uint32_t>(number32({code->data(), code->size()}, 0)) : std::nullopt;
}

bool Integrity::protect(Bytes& frame, Direction direction) const {
    if (!used()) return true;
    const auto code = codeOf(frame, direction);
    if (!code) return false;
    appendNumber(frame, *code, 4);
    return true;
}

}  // namespace omci
