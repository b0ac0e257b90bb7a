// The functions of the contract, over the client that this process has started.
#include "contracts/Pellux.h"

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
using pellux::HeldData;
using pellux::Publisher;
using pellux::WritableSegment;
using tulocore::utility::Guid;

constexpr std::uint64_t kDefaultRetainedBytesLimit = std::uint64_t{64} << 20;

// ---- References ---------------------------------------------------------------------------------

class Writable final : public WritableBinaryReference {
  public:
    Writable(std::shared_ptr<Client> inClient, WritableSegment inSegment)
        : client_(std::move(inClient)), segment_(std::move(inSegment)) {}
    Writable(const Writable&) = delete;
    Writable& operator=(const Writable&) = delete;
    ~Writable() {
        if (!client_->IsInherited()) client_->GetPublisher().GiveBack(std::move(segment_));
    }

    std::uint64_t GetSize() override { return segment_.size; }
    void* GetData() override { return segment_.segment->memory.Start() + pellux::HeaderBytes(); }
    void ReleaseData(void*) override {}

    Status Publish(const std::shared_ptr<Client>& inClient, const Guid& inGuid) {
        // Of a client that has been stopped since, or of the parent process.
        if (inClient != client_) return kBadReference;
        return client_->GetPublisher().Publish(inGuid, segment_);
    }

  private:
    std::shared_ptr<Client> client_;
    WritableSegment segment_;
};

class Readable final : public BinaryReference {
  public:
    explicit Readable(std::shared_ptr<HeldData> inData) : data_(std::move(inData)) {}

    std::uint64_t GetSize() override { return data_->Size(); }
    const void* GetData() override { return data_->Bytes(); }
    void ReleaseData(const void*) override {}

    const HeldData& Data() const { return *data_; }

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

    std::shared_ptr<Client> GetClient() {
        const std::lock_guard lock(mutex_);
        return client_;
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

// Runs a call on the started client. No exception leaves the service's functions.
template <class Call>
std::int32_t WithClient(const Call& inCall) {
    try {
        const std::shared_ptr<Client> client = CurrentService().GetClient();
        return client ? inCall(client) : kNotInitialized;
    } catch (const std::exception&) {
        return kSystemFailure;
    }
}

}  // namespace

// ---- The contract -------------------------------------------------------------------------------

bool InitializeClient() {
    try {
        return CurrentService().Start();
    } catch (const std::exception&) {
        return false;
    }
}

void UninitializeClient() {
    try {
        CurrentService().Stop();
    } catch (const std::exception&) {
        // The next client that starts removes what is left.
    }
}

std::int32_t GetWritableBinaryData(std::uint64_t inSize, WritableBinaryReferencePtr& outReference) {
    outReference.reset();
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        WritableSegment segment;
        const Status status = inClient->GetPublisher().Allocate(inSize, segment);
        if (status != kSuccess) return status;
        outReference = boost::make_shared<Writable>(inClient, std::move(segment));
        return kSuccess;
    });
}

std::int32_t PutCompletedBinaryData(const Guid& inGuid, WritableBinaryReferencePtr inReference) {
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        auto* const writable = dynamic_cast<Writable*>(inReference.get());
        return writable != nullptr ? writable->Publish(inClient, inGuid) : kBadReference;
    });
}

std::int32_t GetBinaryDataIfAvailable(const Guid& inGuid, BinaryReferencePtr& outReference) {
    outReference.reset();
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        std::shared_ptr<HeldData> data;
        std::int32_t errorCode = 0;
        const Status status = inClient->Get(inGuid, data, errorCode);
        if (status == kSuccess) outReference = boost::make_shared<Readable>(std::move(data));
        return status;
    });
}

std::int32_t MakeBinaryDataAlias(const Guid&, const BinaryReferencePtr& inReference,
                                 const Guid& inAlias) {
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        auto* const readable = dynamic_cast<Readable*>(inReference.get());
        return readable != nullptr ? inClient->MakeAlias(readable->Data(), inAlias) : kBadReference;
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
    return WithClient([&](const std::shared_ptr<Client>& inClient) {
        std::shared_ptr<HeldData> data;
        std::int32_t errorCode = 0;
        const Status status = inClient->Wait(inGuid, inTimeLimit, data, errorCode);
        if (status == kSuccess) outReference = boost::make_shared<Readable>(std::move(data));
        if (status == kGenerationFailed && outErrorCode != nullptr) *outErrorCode = errorCode;
        return status;
    });
}

std::vector<Publication> ListBinaryData() {
    const std::shared_ptr<Client> client = CurrentService().GetClient();
    return client ? client->List() : std::vector<Publication>();
}

std::uint64_t CountSharedBytes() {
    const std::shared_ptr<Client> client = CurrentService().GetClient();
    return client ? client->CountBytes() : 0;
}

void SetRetainedBytesLimit(std::uint64_t inBytes) {
    CurrentService().SetRetainedBytesLimit(inBytes);
}

}  // namespace processcoordination
