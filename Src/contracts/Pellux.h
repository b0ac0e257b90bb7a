// The inter-process data service: shared buffers that processes of one user on one machine publish
// to each other under Guids. Any thread may call any function.
#pragma once

#include <boost/shared_ptr.hpp>
#include <chrono>
#include <cstdint>
#include <vector>

#include "SiblingApi.h"
#include "TuloCore.h"

namespace processcoordination {

/// What the service's functions return.
enum Status : std::int32_t {
    kSuccess = 0,
    kNotAvailable = -1,      ///< no data under that Guid, or it has gone
    kGuidTaken = -2,         ///< data or an error already stands under that Guid
    kNoRoom = -3,            ///< the shared memory has no room for it
    kBadReference = -4,      ///< null, of another maker or an earlier start, or already completed
    kNotInitialized = -5,    ///< the client is not started
    kTimedOut = -6,          ///< the time limit passed
    kGenerationFailed = -7,  ///< the maker reported that the data will not come
    kSystemFailure = -8,     ///< the folder is not usable: owner, mode, or the file system refused
};

/// A shared buffer that this process fills. Dropping the last reference to one that was never
/// completed gives its memory back.
class WritableBinaryReference {
  public:
    /// 0. Usable bytes, at least what was asked for.
    virtual std::uint64_t GetSize() = 0;
    /// 1. The address of the bytes, aligned to a page; null when there are none.
    virtual void* GetData() = 0;
    /// 2. Hands the address back: the bytes are filled, or will not be looked at any more.
    virtual void ReleaseData(void* inData) = 0;

  protected:
    ~WritableBinaryReference() = default;
};

/// Completed shared data, mapped read-only; only what this process published and still has the
/// writable reference to may be seen at that one's address, when there is no descriptor or memory
/// for another mapping. The bytes stay valid for as long as the reference lives, whatever becomes
/// of their publisher, as long as no other program of the user truncates the service's files.
class BinaryReference {
  public:
    /// 0. Usable bytes.
    virtual std::uint64_t GetSize() = 0;
    /// 1. The address of the bytes, aligned to a page; null when there are none.
    virtual const void* GetData() = 0;
    /// 2. Hands the address back.
    virtual void ReleaseData(const void* inData) = 0;

  protected:
    ~BinaryReference() = default;
};

using WritableBinaryReferencePtr = boost::shared_ptr<WritableBinaryReference>;
using BinaryReferencePtr = boost::shared_ptr<BinaryReference>;

/// Starts the client and removes what dead clients left behind. Calls are counted. False when the
/// service's folder cannot be had or is not this user's alone.
SIBLING_API bool InitializeClient();

/// Stops the client with the last call: withdraws everything it published. References held by
/// anyone stay valid.
///
/// When the service's folder is deleted in between, all that was published is gone; the next call
/// makes the folder anew and goes on in it, as after a stop and a start.
SIBLING_API void UninitializeClient();

/// A shared buffer of at least inSize bytes with its room reserved. Its contents are undefined.
SIBLING_API std::int32_t GetWritableBinaryData(std::uint64_t inSize,
                                               WritableBinaryReferencePtr& outReference);

/// Makes the buffer's data available to all processes under the Guid, whole or not at all. A Guid
/// that is taken, be it by an error, gives kGuidTaken and changes nothing.
SIBLING_API std::int32_t PutCompletedBinaryData(const tulocore::utility::Guid& inGuid,
                                                WritableBinaryReferencePtr inReference);

/// The data under the Guid, when it is there: else kNotAvailable or kGenerationFailed.
SIBLING_API std::int32_t GetBinaryDataIfAvailable(const tulocore::utility::Guid& inGuid,
                                                  BinaryReferencePtr& outReference);

/// Makes the data that inReference holds, known as inGuid, available under inAlias as well. The
/// alias is this process's, whoever published the data: it stays as long as if the data had been
/// published by this process now, and its bytes count against this process's bound.
SIBLING_API std::int32_t MakeBinaryDataAlias(const tulocore::utility::Guid& inGuid,
                                             const BinaryReferencePtr& inReference,
                                             const tulocore::utility::Guid& inAlias);

/// Remembers under the Guid that its data will not come, and why; wakes whoever waits for it. A
/// Guid that is taken gives kGuidTaken and changes nothing.
SIBLING_API std::int32_t PutBinaryDataGenerationError(const tulocore::utility::Guid& inGuid,
                                                      std::int32_t inErrorCode);

/// As GetBinaryDataIfAvailable, but waits for data or an error to come, kTimedOut after the time
/// limit. outErrorCode, where given, receives the maker's code with kGenerationFailed.
SIBLING_API std::int32_t WaitForBinaryData(const tulocore::utility::Guid& inGuid,
                                           std::chrono::milliseconds inTimeLimit,
                                           BinaryReferencePtr& outReference,
                                           std::int32_t* outErrorCode = nullptr);

/// One Guid that the service knows.
struct Publication {
    tulocore::utility::Guid guid;
    std::uint64_t size = 0;      ///< bytes of data; 0 for an error
    std::uint32_t process = 0;   ///< the publisher, or who made the alias
    bool isAlias = false;        ///< the bytes were published under another Guid first
    std::int32_t errorCode = 0;  ///< not 0: a generation error
};

/// Everything that stands under a Guid at the moment, of all processes; nothing when there is no
/// memory for the list.
SIBLING_API std::vector<Publication> ListBinaryData();

/// Bytes of shared memory that the service's files occupy at the moment, of all processes; 0 when
/// there is no memory to count them.
SIBLING_API std::uint64_t CountSharedBytes();

/// Bound on the bytes that this process keeps published or ready for reuse without holders; the
/// oldest go first, the publication made last stays whatever its size. 64 MiB at first, seven
/// 1080p frames of 8-bit RGBA: a stream that goes round more memory than a cache holds is slower.
/// Who lets frames wait longer raises it, or keeps references to them.
SIBLING_API void SetRetainedBytesLimit(std::uint64_t inBytes);

}  // namespace processcoordination
