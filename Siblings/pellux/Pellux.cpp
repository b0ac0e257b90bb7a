// The functions of the contract, over the client that this process has started.
#include "contracts/Pellux.h"

#include <algorithm>
#include <atomic>
#include <boost/make_shared.hpp>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

#include "Client.h"

namespace processcoordination {
namespace {

using pellux::Client;
using pellux::Descriptor;
using pellux::HeldData;
using pellux::OwnPublications;
using pellux::Publisher;
using pellux::WritableSegment;
using tulocore::utility::Guid;

constexpr std::uint64_t kDefaultRetainedBytesLimit = std::uint64_t{64} << 20;
constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(365 * 24);

// ---- References ---------------------------------------------------------------------------------

/// Whatever this service gives to read.
class Received : public BinaryReference {
  public:
    void ReleaseData(const void*) override {}

    /// Held as long as the reference lives.
    virtual const Descriptor& File() const = 0;
};

class Writable final : public WritableBinaryReference {
  public:
    explicit Writable(std::shared_ptr<Client> inClient) : client_(std::move(inClient)) {}
    Writable(const Writable&) = delete;
    Writable& operator=(const Writable&) = delete;
    ~Writable() {
        if (client_->IsInherited()) return;
        if (segment_.isPublished) client_->GetOwnPublications().Remove(guid_);
        client_->GetPublisher().GiveBack(std::move(segment_));
    }

    std::uint64_t GetSize() override { return segment_.size; }
    void* GetData() override { return segment_.Get().memory.Start() + pellux::HeaderBytes(); }
    void ReleaseData(void*) override {}

    Status Allocate(std::uint64_t inSize) {
        return client_->GetPublisher().Allocate(inSize, segment_);
    }

    Status Publish(const std::shared_ptr<Client>& inClient, const Guid& inGuid,
                   const WritableBinaryReferencePtr& inThis) {
        // Of a client that has been stopped since, or of the parent process.
        if (inClient != client_) return kBadReference;
        OwnPublications::Table own{{inGuid, BinaryReferencePtr(inThis, &published_)}};
        const Status status = client_->GetPublisher().Publish(inGuid, segment_);
        if (status != kSuccess) return status;
        guid_ = inGuid;
        client_->GetOwnPublications().Add(std::move(own));
        return kSuccess;
    }

  private:
    /// The same bytes once they are published.
    class Published final : public Received {
      public:
        explicit Published(Writable& inWritable) : writable_(inWritable) {}

        std::uint64_t GetSize() override { return writable_.GetSize(); }
        const void* GetData() override { return writable_.GetData(); }
        const Descriptor& File() const override { return writable_.segment_.hold; }

      private:
        Writable& writable_;
    };

    std::shared_ptr<Client> client_;
    WritableSegment segment_;
    Guid guid_;  // once it is published
    Published published_{*this};
};

class Readable final : public Received {
  public:
    explicit Readable(std::shared_ptr<HeldData> inData) : data_(std::move(inData)) {}

    std::uint64_t GetSize() override { return data_->Size(); }
    const void* GetData() override { return data_->Bytes(); }
    const Descriptor& File() const override { return data_->File(); }

  private:
    std::shared_ptr<HeldData> data_;
};

// ---- The process's client -----------------------------------------------------------------------

class Service {
  public:
    // A child inherits none of its parent's state but this choice.
    explicit Service(Service* inParents)
        : parents_(inParents),
          retainedBytesLimit_(inParents != nullptr ? inParents->retainedBytesLimit_.load()
                                                   : kDefaultRetainedBytesLimit) {}

    bool IsInherited() const { return process_.IsInherited(); }

    bool Start() {
        const std::lock_guard lock(mutex_);
        if (!client_) client_ = Client::Start(retainedBytesLimit_);
        if (!client_) return false;
        ++starts_;
        return true;
    }

    void Stop() {
        std::shared_ptr<Client> stopped;
        {
            const std::lock_guard lock(mutex_);
            if (starts_ == 0 || --starts_ > 0) return;
            stopped.swap(client_);
        }
        stopped->Stop();
    }

    // Null before the start. Another one takes the place of a client that is lost, if it can.
    std::shared_ptr<Client> GetClient() {
        std::shared_ptr<Client> lost;
        const std::unique_lock lock(mutex_);
        if (!client_ || !client_->IsLost()) return client_;
        std::shared_ptr<Client> fresh = Client::Start(retainedBytesLimit_);
        if (!fresh) return client_;
        lost = std::exchange(client_, fresh);
        lost->Stop();
        return fresh;
    }

    void SetRetainedBytesLimit(std::uint64_t inBytes) {
        retainedBytesLimit_ = inBytes;
        if (const std::shared_ptr<Client> client = GetClient()) {
            client->GetPublisher().SetRetainedBytesLimit(inBytes);
        }
    }

  private:
    pellux::ProcessMark process_;
    [[maybe_unused]] Service* parents_;
    std::atomic<std::uint64_t> retainedBytesLimit_;
    std::mutex mutex_;
    std::shared_ptr<Client> client_;
    unsigned starts_ = 0;
};

// Never destroyed, since references may be let go of at any moment of the process's end. After a
// fork, the child gets one of its own and leaves its parent's alone.
Service& CurrentService() {
    static std::atomic<Service*> current{nullptr};
    Service* service = current.load();
    if (service != nullptr && !service->IsInherited()) return *service;
    auto fresh = std::make_unique<Service>(service);
    if (!current.compare_exchange_strong(service, fresh.get())) return *service;
    return *fresh.release();
}

// No exception leaves the service's functions.
template <class Result, class Call>
Result Guarded(Result inFailure, const Call& inCall) {
    try {
        return inCall();
    } catch (const std::exception&) {
        return inFailure;
    }
}

// Runs a call on the started client.
template <class Call>
std::int32_t WithClient(const Call& inCall) {
    return Guarded<std::int32_t>(kSystemFailure, [&]() -> std::int32_t {
        const std::shared_ptr<Client> client = CurrentService().GetClient();
        return client ? inCall(client) : kNotInitialized;
    });
}

std::int32_t GetOwn(const Guid& inGuid, BinaryReferencePtr& outReference) {
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        outReference = inClient->GetOwnPublications().Find(inGuid);
        return outReference ? kSuccess : kSystemFailure;
    });
}

}  // namespace

// ---- The contract -------------------------------------------------------------------------------

bool InitializeClient() {
    return Guarded(false, [] { return CurrentService().Start(); });
}

void UninitializeClient() {
    CurrentService().Stop();
}

std::int32_t GetWritableBinaryData(std::uint64_t inSize, WritableBinaryReferencePtr& outReference) {
    outReference.reset();
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        const auto writable = boost::make_shared<Writable>(inClient);
        const Status status = writable->Allocate(inSize);
        if (status == kSuccess) outReference = writable;
        return status;
    });
}

std::int32_t PutCompletedBinaryData(const Guid& inGuid, WritableBinaryReferencePtr inReference) {
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        auto* const writable = dynamic_cast<Writable*>(inReference.get());
        if (writable == nullptr) return kBadReference;
        return writable->Publish(inClient, inGuid, inReference);
    });
}

std::int32_t GetBinaryDataIfAvailable(const Guid& inGuid, BinaryReferencePtr& outReference) {
    outReference.reset();
    const std::int32_t result = WithClient([&](const std::shared_ptr<Client>& inClient) {
        std::shared_ptr<HeldData> data;
        std::int32_t errorCode = 0;
        const Status status = inClient->Get(inGuid, data, errorCode);
        if (status == kSuccess) outReference = boost::make_shared<Readable>(std::move(data));
        return status;
    });
    return result == kSystemFailure ? GetOwn(inGuid, outReference) : result;
}

std::int32_t MakeBinaryDataAlias(const Guid&, const BinaryReferencePtr& inReference,
                                 const Guid& inAlias) {
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        auto* const received = dynamic_cast<Received*>(inReference.get());
        if (received == nullptr) return kBadReference;
        return inClient->GetPublisher().MakeAlias(received->File(), inAlias);
    });
}

std::int32_t PutBinaryDataGenerationError(const Guid& inGuid, std::int32_t inErrorCode) {
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        return inClient->GetPublisher().PublishError(inGuid, inErrorCode);
    });
}

std::int32_t WaitForBinaryData(const Guid& inGuid, std::chrono::milliseconds inTimeLimit,
                               BinaryReferencePtr& outReference, std::int32_t* outErrorCode) {
    outReference.reset();
    const auto end = std::chrono::steady_clock::now() +
                     std::clamp(inTimeLimit, std::chrono::milliseconds(0), kLongestWait);
    const auto wait = [&](const std::shared_ptr<Client>& inClient) {
        std::shared_ptr<HeldData> data;
        std::int32_t errorCode = 0;
        const Status status = inClient->Wait(inGuid, end, data, errorCode);
        if (status == kSuccess) outReference = boost::make_shared<Readable>(std::move(data));
        if (status == kGenerationFailed && outErrorCode != nullptr) *outErrorCode = errorCode;
        // A lost client does not end the wait, unless no other can take its place.
        const bool isReplaced = status == kNotAvailable && CurrentService().GetClient() != inClient;
        return status == kNotAvailable && !isReplaced ? kSystemFailure : status;
    };
    std::int32_t status = kNotAvailable;
    while (status == kNotAvailable)
        status = WithClient(wait);
    return status;
}

std::vector<Publication> ListBinaryData() {
    return Guarded(std::vector<Publication>(), [] {
        const std::shared_ptr<Client> client = CurrentService().GetClient();
        return client ? client->List() : std::vector<Publication>();
    });
}

std::uint64_t CountSharedBytes() {
    return Guarded<std::uint64_t>(0, [] {
        const std::shared_ptr<Client> client = CurrentService().GetClient();
        return client ? client->CountBytes() : 0;
    });
}

void SetRetainedBytesLimit(std::uint64_t inBytes) {
    Guarded(false, [&] {
        CurrentService().SetRetainedBytesLimit(inBytes);
        return true;
    });
}

}  // namespace processcoordination
