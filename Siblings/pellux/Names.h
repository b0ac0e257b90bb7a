// The names of the files in the service's folder.
//
//   client.<client>             lives and is locked while the client runs
//   segment.<client>.<number>   memory of that client that is not published
//   <Guid>                      a publication: data, or the error that stands in its place
//   alias.<client>.<Guid>       a further name of that publication's file: that client made the
//                               alias. It stands before the publication does and goes after it.
//                               A publication without one is of the client in its header.
//   sweep                       locked by the client that removes what the dead left
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "contracts/TuloCore.h"

namespace pellux {

using tulocore::utility::Guid;

/// Names one start of the service in one process, once and for all: process numbers are reused
/// after a while, the random salt is not.
struct ClientId {
    std::uint32_t process = 0;
    std::uint64_t salt = 0;

    static ClientId Generate();

    friend auto operator<=>(const ClientId&, const ClientId&) = default;
};

enum class NameKind { kOther, kClient, kSegment, kPublication, kAliasMark };

struct ParsedName {
    NameKind kind = NameKind::kOther;
    ClientId client;  ///< of a client, a segment or an alias
    Guid guid;        ///< of a publication or an alias
};

inline constexpr const char* kSweepName = "sweep";

std::string ClientName(const ClientId& inClient);
std::string SegmentName(const ClientId& inClient, std::uint64_t inNumber);
std::string PublicationName(const Guid& inGuid);
std::string AliasMarkName(const ClientId& inClient, const Guid& inGuid);

/// Any other spelling than the functions above give is kOther.
ParsedName ParseName(std::string_view inName);

}  // namespace pellux
