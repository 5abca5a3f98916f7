#pragma once

#include "gameengine/engine/entityComponent.h"

#include <functional>
#include <string>

/// A component with a property of every kind that calls back at each moment of its life.
class ComponentProbe : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentProbe, CEntityComponentRepository, 10900);

public:
    enum class Moment
    {
        Unlocked,
        Saving,
        Loading,
        Finalized,
        Dying
    };
    using Hook = std::function<void(ComponentProbe&, Moment)>;

    /// Sets what all probes call, until the end of the scope, and registers the class as long.
    class Scope
    {
    public:
        explicit Scope(Hook hook = {});
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope();
    };

    explicit ComponentProbe(CEntity* entity);
    ~ComponentProbe() override;

    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    void FinalizeProperties() override;
    void SerializerSave(UDBGroup& group) override;
    void SerializerLoad(UDBGroup& group) override;
    void i_OnEntityUnlockComponentList() override;

    std::int32_t count = 0;
    float ratio = 0.0F;
    float place[3] = {};
    std::string note;
    float tint[4] = {};
    std::string file;
    std::int32_t secret = 0;
    std::int32_t mode = 0;
    bool hasStrangeProperty = false; ///< One more property, of a kind that does not exist.

private:
    static void i_Call(ComponentProbe& probe, Moment moment);
};
