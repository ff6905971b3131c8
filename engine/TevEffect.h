#pragma once

#include <cstdint>

#include "model/ParameterValues.h"

namespace orvan {

// The audio engine as the service sees it: commands go into the process-wide
// engine parameter store. Virtual so that another delivery can stand in.
class TevEffect {
public:
    // The engine is reached through the store, so session and name are unused.
    TevEffect(int32_t sessionId, const char* name);
    virtual ~TevEffect() = default;

    // Sends `values` as a set-parameter command; -22, like execute().
    virtual int32_t send(int32_t id, Values& values);
    // Writes every parameter of a set-parameter command into the store and
    // commits them together; a malformed command is logged and changes nothing.
    virtual void sendSharedStore(const void* data, uint32_t length);
    // Nothing is read back from the engine; 0.
    virtual int32_t receive(int32_t id, Values& values);
    virtual bool hasControl() const { return true; }
    virtual void setEnabled(bool enabled);
};

}  // namespace orvan
