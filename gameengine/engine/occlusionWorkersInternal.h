#pragma once

#include <barrier>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace occlusion
{
/// Threads that sleep until there is a job for all of them.
class Workers
{
public:
    using Job = void (*)(void* context);

    /// `count` workers, one of which is the caller of `Run`. There may be fewer when the system has no more threads.
    explicit Workers(int count);
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
    ~Workers();

    int GetCount() const noexcept { return static_cast<int>(m_threads.size()) + 1; }

    /// Lets every worker do the job; returns when all of them are done.
    void Run(Job job, void* context);

    /// From within the job: goes on when all workers have come here. True for the caller of `Run`.
    bool Meet() noexcept;

private:
    void i_Main() noexcept;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::uint64_t m_jobs = 0; // with m_mutex, as what follows
    bool m_stop = false;
    Job m_job = nullptr;
    void* m_context = nullptr;
    std::vector<std::thread> m_threads;
    std::thread::id m_caller;
    std::unique_ptr<std::barrier<>> m_meeting;
};
} // namespace occlusion
