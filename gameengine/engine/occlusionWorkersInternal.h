#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace occlusion
{
/// Threads that sleep until there is a job in which they may help.
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

    /// Does the job, and lets all workers do it that wake up in time. Returns when none is in it any more.
    void Run(Job job, void* context);

private:
    static constexpr std::uint32_t kOpen = 0x80000000U;

    void i_Main() noexcept;
    bool i_Enter() noexcept;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::uint64_t m_jobs = 0; // with m_mutex, as what follows
    bool m_stop = false;
    /// How many threads are in the job, and kOpen while more may come.
    std::atomic<std::uint32_t> m_gate = 0;
    Job m_job = nullptr; // steady while the gate is not 0
    void* m_context = nullptr;
    std::vector<std::thread> m_threads;
};

/// The numbers from 0 to `end` in chunks, each of which some worker takes: a part of a job.
class Stage
{
public:
    void Reset(std::size_t end, std::size_t size) noexcept
    {
        m_end = end;
        m_size = size;
        m_next.store(0, std::memory_order_relaxed);
        m_done.store(0, std::memory_order_relaxed);
    }

    /// Calls function(begin, end) for chunks as long as there are any; returns when the others are done with theirs.
    template <class Function>
    void Run(Function function) noexcept
    {
        while (true)
        {
            const std::size_t begin = m_next.fetch_add(m_size, std::memory_order_relaxed);
            if (begin >= m_end)
                break;
            const std::size_t end = std::min(begin + m_size, m_end);
            function(begin, end);
            m_done.fetch_add(end - begin, std::memory_order_release);
        }
        while (m_done.load(std::memory_order_acquire) < m_end)
            std::this_thread::yield();
    }

private:
    std::size_t m_end = 0;
    std::size_t m_size = 1;
    alignas(64) std::atomic<std::size_t> m_next = 0;
    alignas(64) std::atomic<std::size_t> m_done = 0;
};
} // namespace occlusion
