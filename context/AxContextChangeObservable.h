#pragma once

#include <set>

#include "context/OnAxContextChange.h"

namespace orvan {

// Forwards every context event to each registered listener. It takes no lock:
// the context serialises registration with the operations that raise events,
// and a listener must not register or unregister anyone from a callback.
class AxContextChangeObservable : public OnAxContextChange {
public:
    AxContextChangeObservable() = default;
    ~AxContextChangeObservable() override = default;
    AxContextChangeObservable(const AxContextChangeObservable&) = delete;
    AxContextChangeObservable& operator=(const AxContextChangeObservable&) = delete;

    // Registering a listener twice keeps one entry; null is ignored.
    void registerObserver(OnAxContextChange* observer);
    // A listener that is not registered is ignored.
    void unregisterObserver(OnAxContextChange* observer);
    void unregisterAll();

    void onLoad(AxContext& context) override;
    void onTevOnChanged(AxContext& context, bool on) override;
    void onSelectedProfileChanged(AxContext& context) override;
    void onSelectedProfileParameterChanged(AxContext& context, Profile& profile) override;
    void onSelectedProfileEndpointChanged(AxContext& context, Port port,
                                          ProfileEndpoint& endpoint) override;
    void onSelectedProfileIeqChanged(AxContext& context, Port port, IeqPreset& preset) override;
    void onSelectedProfileGeqChanged(AxContext& context, GeqPreset& preset) override;
    void onSelectedTuningChanged(AxContext& context, Port port, Tuning& tuning) override;

private:
    // Not owned; ordered by address, so the call order carries no meaning.
    std::set<OnAxContextChange*> mObservers;
};

}  // namespace orvan
