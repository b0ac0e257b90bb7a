#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

#include "contracts/TuloCore.h"

namespace tulocore::utility {

void ThrowUnreadableGuid(std::string_view inText) {
    throw std::invalid_argument("not a Guid: \"" + std::string(inText) + "\"");
}

Guid Guid::Generate() {
    std::array<std::byte, sizeof(Guid)> bytes;
    if (getentropy(bytes.data(), bytes.size()) != 0) {
        throw std::system_error(errno, std::generic_category(), "no random bytes for a Guid");
    }
    Guid guid = std::bit_cast<Guid>(bytes);
    // RFC 4122 section 4.4: version 4, variant 10.
    guid.part3 = static_cast<std::uint16_t>((guid.part3 & 0x0FFF) | 0x4000);
    guid.part4[0] = static_cast<std::uint8_t>((guid.part4[0] & 0x3F) | 0x80);
    return guid;
}

std::string Guid::ToString() const {
    char text[39];
    std::snprintf(text, sizeof(text), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", part1,
                  part2, part3, part4[0], part4[1], part4[2], part4[3], part4[4], part4[5],
                  part4[6], part4[7]);
    return text;
}

}  // namespace tulocore::utility
