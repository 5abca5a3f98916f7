#include "tools/soak/soak.h"

#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "tamradeps/core/crc64.h"
#include "tools/soak/consoleLife.h"
#include "tools/soak/cullingLife.h"
#include "tools/soak/entityLife.h"
#include "tools/soak/fileLife.h"
#include "tools/soak/guiLife.h"
#include "tools/soak/indexLife.h"
#include "tools/soak/spatialLife.h"
#include "tools/soak/streamLife.h"

#include <chrono>
#include <cstdio>

namespace soak
{
namespace
{
constexpr std::uint64_t kRoundsBetweenChecks = 25;

double GetSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}
} // namespace

CSoak::CSoak(const Options& options) : m_options(options), m_journal(options.folder), m_random(options.seed)
{
    if (m_options.hasDevice)
    {
        const CAnnounced without(m_journal.GetWatch(), "");
        m_context = COffscreenContext::Create();
        if (m_context && !m_renderer.InitializeDevice())
            m_context = nullptr;
    }
    m_engine = CTamraGameEngine::Create(m_renderer);
    m_world = std::make_unique<CWorld>(m_journal);
    // The prototypes stand on an entity of their own, made with the first of them.
    auto& types = CEntityComponentTypeDatabase::Instance();
    for (int i = 0; i < types.GetCount(); ++i)
        types.GetComponent(i);
    m_liveAtStart = CEntity::GetLiveCount();
    i_Add(std::make_unique<CEntityLife>(m_journal, *m_world), 40);
    i_Add(std::make_unique<CFileLife>(m_journal, *m_world), 6);
    i_Add(std::make_unique<CSpatialLife>(m_journal, *m_world), 14);
    i_Add(std::make_unique<CIndexLife>(m_journal), 8);
    i_Add(std::make_unique<CStreamLife>(m_journal), 8);
    i_Add(std::make_unique<CCullingLife>(m_journal, *m_world, m_renderer), 4);
    i_Add(std::make_unique<CGuiLife>(m_journal, *m_engine), 14);
    i_Add(std::make_unique<CConsoleLife>(m_journal, m_engine->GetConsole()), 6);
}

CSoak::~CSoak()
{
    while (!m_lives.empty())
        m_lives.pop_back();
    m_world.reset();
    m_engine.reset();
    m_renderer.ShutdownDevice();
}

void CSoak::i_Add(std::unique_ptr<CLife> life, int weight)
{
    m_weights += weight;
    m_lives.push_back({std::move(life), CRandom(m_random.Bits()), weight});
}

std::string CSoak::GetDeviceName() const
{
    return m_renderer.HasDevice() ? m_renderer.GetDeviceName() : std::string();
}

bool CSoak::i_IsOver() const
{
    return !m_journal.GetFault().empty() || (m_options.rounds > 0 && m_round >= m_options.rounds) ||
           (m_options.minutes > 0.0 && GetSeconds() >= m_end);
}

std::string CSoak::Run(const Print& print)
{
    m_end = GetSeconds() + m_options.minutes * 60.0;
    while (!i_IsOver())
    {
        i_Round();
        if (m_journal.GetFault().empty() && m_round % kSeason == 0)
            i_EndSeason(print);
    }
    // The rest of a season counts as well.
    if (m_journal.GetFault().empty() && m_round % kSeason != 0)
        i_EndSeason(print);
    const std::string fault = m_journal.GetFault();
    return fault.empty() ? m_memory.Judge() : fault;
}

void CSoak::i_Round()
{
    ++m_round;
    int pick = m_random.Below(m_weights);
    for (Entry& entry : m_lives)
    {
        pick -= entry.weight;
        if (pick >= 0)
            continue;
        entry.life->Step(entry.random);
        break;
    }
    if (m_round % kRoundsBetweenChecks == 0)
        m_lives[m_random.Below(m_lives.size())].life->Check();
}

void CSoak::i_CheckAll(const Print& print)
{
    for (Entry& entry : m_lives)
        entry.life->Check();
    std::string line = "  ";
    for (const Entry& entry : m_lives)
    {
        std::string state;
        AppendBytes(state, m_hash);
        const std::size_t start = state.size();
        entry.life->AppendState(state);
        m_hash = HashCRC64Data(state.data(), state.size());
        char part[64];
        std::snprintf(part, sizeof(part), "%s %04x  ", entry.life->GetName(),
                      static_cast<unsigned>(HashCRC64Data(state.data() + start, state.size() - start) & 0xFFFF));
        line += part;
    }
    if (m_options.showsLives)
        print(line);
}

void CSoak::i_EndSeason(const Print& print)
{
    i_CheckAll(print);
    for (Entry& entry : m_lives)
        entry.life->Empty();
    // Those of the world's entities that the store held went after the world.
    m_journal.Require(CEntity::GetLiveCount() == m_liveAtStart,
                      std::to_string(CEntity::GetLiveCount() - m_liveAtStart) + " entities outlive the season");
    const CMemoryRecord::Sample& sample = m_memory.Take(m_round);
    char line[160];
    std::snprintf(line, sizeof(line), "round %8llu  %9lld allocations  %8.1f MiB resident  hash %016llx",
                  static_cast<unsigned long long>(sample.round), static_cast<long long>(sample.allocations),
                  static_cast<double>(sample.resident) / (1024.0 * 1024.0), static_cast<unsigned long long>(m_hash));
    print(line);
}
} // namespace soak
