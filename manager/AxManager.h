#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "model/Parameter.h"
#include "model/ParameterValues.h"
#include "model/Port.h"

namespace orvan {

class AxContext;
class ParameterAdapter;
class TevController;
class TevEffect;

// The one object through which the client service reaches the settings: the
// sound context of the context manager, the engine effect and the engine
// controller that keeps the engine in step with the context, and the client
// parameter ids. It checks ids, ports and ranges before anything reaches the
// context.
//
// No lock of its own: context reads and writes take the context's lock, the
// tuning reload the context manager's. Changes come from one thread (the
// service's event handler), queries from any thread. Before init() succeeds
// every operation logs and answers its neutral value (false, 0, "" or an
// empty list); invalid profiles, ids and ports are answered the same way.
class AxManager {
public:
    // Uninitialised: init() creates everything.
    AxManager();
    // Uses the given controller (owned from now on) and context (not owned).
    AxManager(TevController* controller, AxContext* context);
    // Unregisters the controller from the context before deleting it.
    ~AxManager();
    AxManager(const AxManager&) = delete;
    AxManager& operator=(const AxManager&) = delete;

    // Loads the settings (once per process, retried while there is no context)
    // and starts the engine controller, which sends the complete parameter set
    // of the selected profile. 0, or -19 when there is no context to work on.
    int32_t init();
    bool isInitialized() const;

    // Makes the effect that engine parameters are sent to.
    void createTevEffect(int32_t sessionId);
    // Replaces the effect with a new one and sends it every parameter.
    void recreateAxEffect();

    // Listeners hear of a change of the on state only.
    void setAxOn(bool on);
    // False while suspended, whatever the stored state.
    bool getTevOn();
    void setAxSuspended(bool suspended);
    bool getAxSuspended() const;

    // Store the on state and the selected profile in the settings database.
    void saveAxState();
    void saveAxProfile();
    // Kept for clients of the interface; they do nothing.
    void saveAxStateAndSettings();
    void saveAxProfileSettings();
    void restoreCurrentProfiles();

    int32_t getNumOfProfiles();
    // The profile name's length plus one; 0 for an invalid profile.
    int32_t getProfileNameLen(int32_t profile);
    // "" for an invalid profile.
    std::string getProfileName(int32_t profile);
    // Not persisted: see saveAxProfile.
    bool setSelectedProfile(int32_t profile);
    bool resetProfile(int32_t profile);
    // -1 when there is none.
    int32_t getSelectedProfile();
    bool isProfileModified(int32_t profile);
    std::string getAxVersion() const;

    // Client parameter ids (ParameterAdapter). Setting 111 sets 112 to the same
    // values, so the bass enhancer and the virtual bass switch together.
    bool setParameter(int32_t profile, int32_t parameterId, const Values& values);
    Values getParameter(int32_t profile, int32_t parameterId);
    // The same for the endpoint that plays the port (0 to 5); port 6 and above
    // are refused.
    bool setProfilePortParameter(int32_t profile, int32_t port, int32_t parameterId, const Values& values);
    Values getProfilePortParameter(int32_t profile, int32_t port, int32_t parameterId);
    Values getProfileParameter(int32_t profile, Parameter parameter);

    // Sum of (name length + 1) over the port's tuning devices.
    int32_t getAvailableTuningDevicesLen(Port port);
    std::vector<std::string> getAvailableTuningDevices(Port port);
    // "" when the port has none.
    std::string getSelectedTuningName(Port port);
    bool setSelectedTuning(Port port, const std::string& device);

    bool isMobilityProfileSelected();
    // Of the selected profile on the endpoint of the port's tuning; 0 when unknown.
    int32_t getVolumeLevelerAount(Port port);
    // Of the internal speaker's tuning.
    bool isMonoInternalSpeaker();
    bool isSpeakerPortraitMode();
    // Speaker angles of the port's tuning; -1 when unknown.
    int32_t getTuningParamDSA(Port port);
    int32_t getTuningParamDHSA(Port port);
    int32_t getTuningParamDFSA(Port port);

    // Merges the OEM extra tuning file again and has the ports re-check their
    // tunings: 0, -2 when the file is missing, -22 when it is refused, -19
    // when nothing is loaded.
    int32_t reloadTuningXml();
    // "" when nothing is loaded.
    std::string getDefaultXmlFormatVersion();
    // Why the settings could not be loaded; "" when they were or nothing was tried.
    std::string getStartProblem();

    // Null until init() succeeded.
    AxContext* getAxContext() const { return mAxContext; }
    TevController* getTevController() const { return mTevController.get(); }

private:
    // Logs and answers false when there is no context to work on.
    bool ready(const char* caller) const;
    bool isValidProfile(int32_t profile, const char* caller);
    // A valid profile, an id the adapter may know and an adapter to ask.
    bool isValidRequest(int32_t profile, int32_t parameterId, const char* caller);
    // The endpoint that plays the port; false (logged) for a port without one.
    static bool portEndpoint(int32_t port, Endpoint* endpoint);
    // First value of a parameter of the port's tuning; -1 when there is none.
    int32_t tuningValue(Port port, Parameter parameter);

    std::unique_ptr<TevController> mTevController;
    AxContext* mAxContext = nullptr;
    std::unique_ptr<ParameterAdapter> mParameterAdapter;
    std::unique_ptr<TevEffect> mTevEffect;
    // Read by query threads while the event handler writes it.
    std::atomic<bool> mSuspended{false};
    int32_t mSessionId = 0;
};

}  // namespace orvan
