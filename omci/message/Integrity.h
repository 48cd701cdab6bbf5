// The message integrity code: CRC-32 in G.984 systems, AES-CMAC in the later ones.
#ifndef OMCI_MESSAGE_INTEGRITY_H
#define OMCI_MESSAGE_INTEGRITY_H

#include <array>
#include <cstdint>
#include <optional>

#include "omci/message/Bytes.h"

namespace omci {

// Direction of travel; the number is the byte that AES-CMAC begins with.
enum class Direction : std::uint8_t { kDownstream = 0x01, kUpstream = 0x02 };

using AesKey = std::array<std::uint8_t, 16>;

// CRC-32 of ITU-T I.363.5: most significant bit first, preset to ones, complemented. "123456789" gives 0xFC891918. It
// protects messages and software images.
std::uint32_t crc32(ByteView bytes);
// The same over several parts: begin with kCrc32Begin, end with finishCrc32().
constexpr std::uint32_t kCrc32Begin = 0xFFFFFFFF;
std::uint32_t continueCrc32(std::uint32_t state, ByteView bytes);
constexpr std::uint32_t finishCrc32(std::uint32_t state) {
    return ~state;
}

// AES-CMAC (RFC 4493), 16 bytes; none where the library was built without libcrypto.
std::optional<AesKey> aesCmac(const AesKey& key, ByteView bytes);
bool hasAes();
// MD5, by which a software image is distinguished; none without libcrypto, or where its provider does not offer it.
std::optional<std::array<std::uint8_t, 16>> md5(ByteView bytes);

// The keys that follow from a session (ITU-T G.987.3, clause 15).
struct SessionKeys {
    AesKey omciIntegrity{};
    AesKey ploamIntegrity{};
    AesKey keyEncryption{};
};
std::optional<SessionKeys> sessionKeys(const AesKey& sessionKey);
// The session key from a registration id of 36 bytes (shorter ones are filled with zeros), the serial number and the
// PON-TAG of 8 bytes each. After secure mutual authentication the master session key is another one.
std::optional<AesKey> sessionKey(ByteView registrationId, ByteView serialNumber, ByteView ponTag);

// How frames are protected. Where a driver checks and makes the codes, there are none here.
class Integrity {
public:
    Integrity() = default;  // no codes
    static Integrity crc() { return Integrity(Kind::kCrc); }
    static Integrity aesCmac(const AesKey& key) {
        Integrity integrity(Kind::kAesCmac);
        integrity.key_ = key;
        return integrity;
    }

    bool used() const { return kind_ != Kind::kNone; }
    // The code over the bytes of a frame that are before it; none where codes are not used or cannot be made.
    std::optional<std::uint32_t> codeOf(ByteView protectedBytes, Direction direction) const;
    // Adds the code behind the bytes; false, with frame as it was, when it cannot be made.
    bool protect(Bytes& frame, Direction direction) const;

private:
    enum class Kind : std::uint8_t { kNone, kCrc, kAesCmac };
    explicit Integrity(Kind kind) : kind_(kind) {}
    Kind kind_ = Kind::kNone;
    AesKey key_{};
};

}  // namespace omci

#endif
