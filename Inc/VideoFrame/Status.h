// What the functions of namespace VF return: 0 for success, one of these otherwise.
#pragma once

#include <cstdint>

namespace VF {

inline constexpr std::int32_t kSuccess = 0;
/// QueryInterface: the object does not carry the interface.
inline constexpr std::int32_t kInterfaceNotCarried = static_cast<std::int32_t>(0xA00A0001);
/// Publication refused, no frame could be built, or the renderer failed.
inline constexpr std::int32_t kGeneralFailure = static_cast<std::int32_t>(0xA00F0001);
/// Out of memory, or the caller's buffer is too small.
inline constexpr std::int32_t kOutOfMemory = static_cast<std::int32_t>(0xA00F0006);
/// Frame memory could not be read or copied.
inline constexpr std::int32_t kFrameNotReadable = static_cast<std::int32_t>(0xA0060002);
/// Frame creation ran out of memory.
inline constexpr std::int32_t kFrameOutOfMemory = static_cast<std::int32_t>(0xA0060003);
/// A fill or a one-pixel colour helper failed.
inline constexpr std::int32_t kFailure = -1;

}  // namespace VF
