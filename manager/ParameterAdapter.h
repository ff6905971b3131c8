#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "manager/ParameterStrategy.h"
#include "model/Parameter.h"
#include "model/ParameterValues.h"

namespace orvan {

class AxContext;

// Maps the client parameter ids (100 and up) onto profile parameters of the
// sound context. Ids 100 to 116 are known; 100 and any id outside the table
// are unsupported and answered with a logged error and false, an empty list
// or a length of 0. Values are kept in each id's range before they are stored
// (the virtualizer switches, 101 and 102, are stored as given). No lock of its
// own: the context serialises the writes.
class ParameterAdapter {
public:
    static constexpr int32_t kFirstParameterId = 100;

    // The context is not owned and must outlive the adapter.
    explicit ParameterAdapter(AxContext* context);
    ~ParameterAdapter();
    ParameterAdapter(const ParameterAdapter&) = delete;
    ParameterAdapter& operator=(const ParameterAdapter&) = delete;

    // A per-endpoint id writes the same values to every endpoint of the profile.
    bool setParameter(int32_t id, int32_t profile, const Values& values);
    // A per-endpoint id reads the endpoint of the internal speaker's tuning.
    Values getParameter(int32_t id, int32_t profile);
    // Only per-endpoint ids (101 to 109, 111 to 113, 116) take an endpoint.
    bool setProfileEndpointParameter(int32_t id, Endpoint endpoint, int32_t profile, const Values& values);
    Values getProfileEndpointParameter(int32_t id, Endpoint endpoint, int32_t profile);
    // How many values the id takes; 0 for an unsupported id.
    int32_t getParameterLength(int32_t id);

    // Number of ids in the table, from kFirstParameterId on.
    size_t size() const { return mStrategies.size(); }

private:
    // Null (and logged) for an unsupported id.
    ParameterStrategy* find(int32_t id) const;

    AxContext* mContext;
    // Indexed by id - kFirstParameterId; null for an unsupported id.
    std::vector<std::unique_ptr<ParameterStrategy>> mStrategies;
};

}  // namespace orvan
