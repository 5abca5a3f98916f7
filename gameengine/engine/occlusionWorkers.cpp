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
    m_meeting = std::make_unique<std::barrier<>>(GetCount());
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

void Workers::Run(Job job, void* context)
{
    m_caller = std::this_thread::get_id();
    if (!m_threads.empty())
    {
        {
            const std::lock_guard lock(m_mutex);
            m_job = job;
            m_context = context;
            ++m_jobs;
        }
        m_wake.notify_all();
    }
    job(context);
    Meet();
}

bool Workers::Meet() noexcept
{
    const bool isCaller = std::this_thread::get_id() == m_caller;
    if (!m_threads.empty())
        m_meeting->arrive_and_wait();
    return isCaller;
}

void Workers::i_Main() noexcept
{
    std::uint64_t done = 0;
    while (true)
    {
        std::unique_lock lock(m_mutex);
        m_wake.wait(lock, [&] { return m_stop || m_jobs != done; });
        if (m_stop)
            return;
        done = m_jobs;
        const Job job = m_job;
        void* const context = m_context;
        lock.unlock();
        job(context);
        Meet();
    }
}
} // namespace occlusion
