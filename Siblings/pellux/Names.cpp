#include "Names.h"

#include <sys/random.h>
#include <unistd.h>

#include <charconv>
#include <random>

namespace pellux {
namespace {

constexpr std::string_view kClientPrefix = "client.";
constexpr std::string_view kSegmentPrefix = "segment.";
constexpr std::string_view kAliasMarkPrefix = "alias.";

std::string Text(const ClientId& inClient) {
    return std::to_string(inClient.process) + '-' + std::to_string(inClient.salt);
}

template <class Number>
bool TakeNumber(std::string_view& ioText, Number& outNumber) {
    const char* end = ioText.data() + ioText.size();
    const auto [next, error] = std::from_chars(ioText.data(), end, outNumber);
    if (error != std::errc()) return false;
    ioText.remove_prefix(static_cast<std::size_t>(next - ioText.data()));
    return true;
}

bool TakePrefix(std::string_view& ioText, std::string_view inPrefix) {
    if (!ioText.starts_with(inPrefix)) return false;
    ioText.remove_prefix(inPrefix.size());
    return true;
}

bool TakeClient(std::string_view& ioText, ClientId& outClient) {
    return TakeNumber(ioText, outClient.process) && TakePrefix(ioText, "-") &&
           TakeNumber(ioText, outClient.salt);
}

}  // namespace

ClientId ClientId::Generate() {
    ClientId id;
    id.process = static_cast<std::uint32_t>(getpid());
    if (getrandom(&id.salt, sizeof(id.salt), 0) != sizeof(id.salt)) {
        std::random_device random;
        id.salt = std::uint64_t{random()} << 32 | random();
    }
    return id;
}

std::string ClientName(const ClientId& inClient) {
    return std::string(kClientPrefix) + Text(inClient);
}

std::string SegmentName(const ClientId& inClient, std::uint64_t inNumber) {
    return std::string(kSegmentPrefix) + Text(inClient) + '.' + std::to_string(inNumber);
}

std::string PublicationName(const Guid& inGuid) {
    const std::string withBraces = inGuid.ToString();
    return withBraces.substr(1, withBraces.size() - 2);
}

std::string AliasMarkName(const ClientId& inClient, const Guid& inGuid) {
    return std::string(kAliasMarkPrefix) + Text(inClient) + '.' + PublicationName(inGuid);
}

ParsedName ParseName(std::string_view inName) {
    ParsedName parsed;
    std::string_view rest = inName;
    if (TakePrefix(rest, kClientPrefix)) {
        if (TakeClient(rest, parsed.client) && inName == ClientName(parsed.client)) {
            parsed.kind = NameKind::kClient;
        }
    } else if (TakePrefix(rest, kSegmentPrefix)) {
        std::uint64_t number = 0;
        if (TakeClient(rest, parsed.client) && TakePrefix(rest, ".") && TakeNumber(rest, number) &&
            inName == SegmentName(parsed.client, number)) {
            parsed.kind = NameKind::kSegment;
        }
    } else if (TakePrefix(rest, kAliasMarkPrefix)) {
        if (!TakeClient(rest, parsed.client) || !TakePrefix(rest, ".")) return parsed;
        parsed.guid = Guid::Parse(rest).value_or(Guid());
        if (inName == AliasMarkName(parsed.client, parsed.guid)) parsed.kind = NameKind::kAliasMark;
    } else if (const std::optional<Guid> guid = Guid::Parse(inName)) {
        parsed.guid = *guid;
        if (inName == PublicationName(*guid)) parsed.kind = NameKind::kPublication;
    }
    return parsed;
}

}  // namespace pellux
