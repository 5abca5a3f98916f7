#pragma once

#include "corvex/context.h"
#include "gameengine/gameEngine.h"
#include "tamraengine/renderer/renderer.h"
#include "tools/soak/life.h"
#include "tools/soak/memory.h"
#include "tools/soak/world.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace soak
{
/// What one run of the program is to do.
struct Options
{
    std::uint64_t seed = 1;
    std::uint64_t rounds = 0; ///< 0 for as many as there is time for.
    double minutes = 0.0;     ///< 0 for no end by time.
    std::string folder;
    bool hasDevice = true;   ///< Uses one where there is one.
    bool showsLives = false; ///< Prints a hash of each life's state after each season.
};

/// All kinds of life together, in rounds: each round one of them takes a step. After every season of rounds all are
/// compared with their models and emptied, and the memory is looked at.
class CSoak
{
public:
    static constexpr std::uint64_t kSeason = 500;
    /// Hears of a line for each sample of the memory.
    using Print = std::function<void(const std::string&)>;

    explicit CSoak(const Options& options);
    ~CSoak();

    /// Runs to the end or to the first fault, which it answers; empty when all was well.
    std::string Run(const Print& print);

    std::uint64_t GetRound() const noexcept { return m_round; }
    /// Of everything that was lived: the same for the same seed and rounds.
    std::uint64_t GetHash() const noexcept { return m_hash; }
    const Tally& GetTally() const noexcept { return m_journal.tally; }
    const CMemoryRecord& GetMemory() const noexcept { return m_memory; }
    /// Of the device, empty without.
    std::string GetDeviceName() const;

private:
    struct Entry
    {
        std::unique_ptr<CLife> life;
        CRandom random;
        int weight;
    };

    void i_Add(std::unique_ptr<CLife> life, int weight);
    void i_Round();
    void i_CheckAll(const Print& print);
    void i_EndSeason(const Print& print);
    bool i_IsOver() const;

    const Options m_options;
    CJournal m_journal;
    std::unique_ptr<COffscreenContext> m_context;
    renderer::CRenderer m_renderer;
    std::unique_ptr<CTamraGameEngine> m_engine;
    std::unique_ptr<CWorld> m_world;
    std::vector<Entry> m_lives;
    CRandom m_random;
    CMemoryRecord m_memory;
    std::int32_t m_liveAtStart = 0;
    int m_weights = 0;
    std::uint64_t m_round = 0;
    std::uint64_t m_hash = 0;
    double m_end = 0.0; // seconds of the steady clock
};
} // namespace soak
