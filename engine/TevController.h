#pragma once

#include <cstdint>
#include <set>

#include "context/OnAxContextChange.h"
#include "engine/TevContext.h"
#include "engine/TevEffect.h"

namespace orvan {

// Keeps the engine in step with the sound context: every context event
// updates the effective parameter sets, and the engine parameters whose
// values changed go to the effect in one set-parameter command.
// No lock: events arrive on the thread that changed the context, one at a time.
class TevController : public OnAxContextChange {
public:
    // Every output device and the profile-wide key.
    static const std::set<AndroidDevice> kDevices;

    // The effect is not owned and must outlive the controller or be replaced
    // through setTevEffect. The device argument is kept for callers only.
    TevController(int32_t device, TevEffect& effect);
    ~TevController() override;
    TevController(const TevController&) = delete;
    TevController& operator=(const TevController&) = delete;

    void onLoad(AxContext& context) override;
    void onTevOnChanged(AxContext& context, bool on) override;
    void onSelectedProfileChanged(AxContext& context) override;
    void onSelectedProfileParameterChanged(AxContext& context, Profile& profile) override;
    void onSelectedProfileEndpointChanged(AxContext& context, Port port, ProfileEndpoint& endpoint) override;
    void onSelectedProfileIeqChanged(AxContext& context, Port port, IeqPreset& preset) override;
    void onSelectedProfileGeqChanged(AxContext& context, GeqPreset& preset) override;
    void onSelectedTuningChanged(AxContext& context, Port port, Tuning& tuning) override;

    // Sends the engine parameters changed since the last send, in one command
    // headed `device`; returns what executing it returned (0 when empty).
    int32_t sendParameters(AndroidDevice device);
    // Adopts `effect` and sends it every engine parameter.
    int32_t setTevEffect(TevEffect& effect, AxContext& context);

    int32_t getDevice() const { return mDevice; }
    TevContext& getTevContext() { return *mTevContext; }

private:
    // The selected profile, its GEQ curve and every port's endpoint settings;
    // with `withTunings` the tunings as well.
    void refresh(AxContext& context, bool withTunings);
    // The port's endpoint record and IEQ curve of the selected profile.
    void applyPortEndpoint(AxContext& context, Port port);
    // Also re-sends the output mode when the port's endpoint or mono flag
    // changed, since the mode depends on both and not only on its values.
    void applyTuning(Port port, const Tuning& tuning);

    const int32_t mDevice;
    // Declared before the engine context, which registers its sets with them.
    TranslatorMap mTranslators;
    std::unique_ptr<TevContext> mTevContext;
    TevEffect* mTevEffect;
};

}  // namespace orvan
