#include "gameengine/engine/occlusionWorkersInternal.h"
#include "tamradeps/core/log.h"

#include <string>
#include <system_error>

namespace occlusion
{
Workers::Workers(int count)
{
    try
    {
        while (GetCount() < count)
            m_threads.emplace_back([this] { i_Main(); });
    }
    catch (const std::system_error&)
    {
        tamra::log::Warning("The occlusion culler works with " + std::to_string(GetCount()) + " threads instead of " +
                            std::to_string(count));
    }
}

Workers::~Workers()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

// Nobody waits for a thread that still sleeps: with a busy processor that takes longer than the job.
void Workers::Run(Job job, void* context)
{
    m_job = job;
    m_context = context;
    if (!m_threads.empty())
    {
        m_gate.store(kOpen, std::memory_order_release);
        {
            const std::lock_guard lock(m_mutex);
            ++m_jobs;
        }
        m_wake.notify_all();
    }
    job(context);
    m_gate.fetch_and(~kOpen, std::memory_order_relaxed);
    while (m_gate.load(std::memory_order_acquire) != 0)
        std::this_thread::yield();
}

bool Workers::i_Enter() noexcept
{
    std::uint32_t gate = m_gate.load(std::memory_order_relaxed);
    while (gate & kOpen)
    {
        if (m_gate.compare_exchange_weak(gate, gate + 1, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    }
    return false;
}

void Workers::i_Main() noexcept
{
    std::uint64_t done = 0;
    while (true)
    {
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [&] { return m_stop || m_jobs != done; });
            if (m_stop)
                return;
            done = m_jobs;
        }
        if (!i_Enter())
            continue;
        m_job(m_context);
        m_gate.fetch_sub(1, std::memory_order_release);
    }
}
} // namespace occlusion
