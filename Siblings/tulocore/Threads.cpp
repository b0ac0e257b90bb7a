#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "contracts/TuloCore.h"

namespace tulocore::threads {

std::uint32_t GetCurrentThreadID() {
    return static_cast<std::uint32_t>(::syscall(SYS_gettid));
}

// ---------------------------------------------------------------------------------------------
// The main thread's calls

namespace {

struct CallQueue {
    std::mutex mutex;
    std::deque<boost::function<void()>> calls;
};

// Never destroyed: other libraries queue calls while the process ends.
CallQueue& MainThreadQueue() {
    static CallQueue& queue = *new CallQueue;
    return queue;
}

}  // namespace

void AsyncCallFromMainThread(const boost::function<void()>& inCall) {
    CallQueue& queue = MainThreadQueue();
    const std::lock_guard lock(queue.mutex);
    queue.calls.push_back(inCall);
}

std::size_t RunMainThreadCalls() {
    CallQueue& queue = MainThreadQueue();
    for (std::size_t ran = 0;; ++ran) {
        boost::function<void()> call;
        {
            const std::lock_guard lock(queue.mutex);
            if (queue.calls.empty()) return ran;
            call.swap(queue.calls.front());
            queue.calls.pop_front();
        }
        call();
    }
}

// ---------------------------------------------------------------------------------------------
// Tasks on all processors

namespace {

// One call of ExecuteCPUBoundTaskOnAllProcessors. Workers and the caller take indices until none
// is left; the caller then waits until the last one taken has run.
class TaskRun {
  public:
    TaskRun(const boost::function<void(int)>& inTask, int inCount)
        : task_(inTask), count_(inCount) {}

    // Takes and runs indices until none is left.
    void Work() {
        for (int index = next_++; index < count_; index = next_++) {
            try {
                task_(index);
            } catch (...) {
                const std::lock_guard lock(mutex_);
                if (!error_) error_ = std::current_exception();
                next_ = count_;
            }
        }
    }

    bool HasWork() const { return next_ < count_; }

    // Workers inside Work; guarded by the pool's lock.
    int workers = 0;

    void RethrowError() const {
        if (error_) std::rethrow_exception(error_);
    }

  private:
    const boost::function<void(int)>& task_;
    const int count_;
    std::atomic<int> next_ = 0;
    std::mutex mutex_;
    std::exception_ptr error_;
};

// Threads that help with whatever runs are open, oldest first.
class WorkerPool {
  public:
    WorkerPool() {
        const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
        for (unsigned i = 1; i < processors; ++i) {
            threads_.emplace_back([this](std::stop_token inStop) { Serve(inStop); });
        }
    }

    void Execute(TaskRun& inRun) {
        {
            const std::lock_guard lock(mutex_);
            open_.push_back(&inRun);
        }
        workWaiting_.notify_all();
        inRun.Work();
        std::unique_lock lock(mutex_);
        std::erase(open_, &inRun);
        workerLeft_.wait(lock, [&] { return inRun.workers == 0; });
    }

  private:
    void Serve(std::stop_token inStop) {
        std::unique_lock lock(mutex_);
        TaskRun* run = nullptr;
        while (workWaiting_.wait(lock, inStop, [&] { return (run = FindWork()) != nullptr; })) {
            ++run->workers;
            lock.unlock();
            run->Work();
            lock.lock();
            if (--run->workers == 0) workerLeft_.notify_all();
        }
    }

    TaskRun* FindWork() {
        for (TaskRun* run : open_) {
            if (run->HasWork()) return run;
        }
        return nullptr;
    }

    std::mutex mutex_;
    std::condition_variable_any workWaiting_;
    std::condition_variable workerLeft_;
    std::vector<TaskRun*> open_;
    std::vector<std::jthread> threads_;
};

}  // namespace

void ExecuteCPUBoundTaskOnAllProcessors(const boost::function<void(int)>& inTask, int inCount) {
    if (inCount <= 0) return;
    static WorkerPool pool;
    TaskRun run(inTask, inCount);
    pool.Execute(run);
    run.RethrowError();
}

}  // namespace tulocore::threads
