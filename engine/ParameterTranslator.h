#pragma once

#include <vector>

#include "engine/ParamChangeObserver.h"
#include "engine/SetParamCommand.h"
#include "engine/Translator.h"
#include "engine/TranslatorCollection.h"

namespace orvan {

// The translation state of one output device: which translators are due
// since the last flush, and the value set they read. Not thread-safe: the
// owner serialises calls; the shared catalogue is only read.
class ParameterTranslator : public ParamChangeObserver {
public:
    // Shared by every ParameterTranslator; never destroyed.
    static const TranslatorCollection& sTranslatorCollection;

    ParameterTranslator() = default;
    ParameterTranslator(const ParameterTranslator&) = delete;
    ParameterTranslator& operator=(const ParameterTranslator&) = delete;

    // Keeps what is pending: the new source is read at the next flush.
    void setSource(ParameterValues* source, Endpoint endpoint, bool mono) override;
    // Makes the translator of `p` due; a translator runs once per flush
    // however many of its sources changed.
    void onParameterChanged(Parameter p) override;

    // Runs every due translator into `command`, then forgets them.
    void translatePending(SetParamCommand& command);
    // Makes every translator of the source's parameters due, then flushes.
    void translateAll(SetParamCommand& command);

    ParameterValues* getSource() const { return mSource; }
    Endpoint getEndpoint() const { return mEndpoint; }
    bool isMono() const { return mMono; }
    size_t getPendingCount() const { return mPending.size(); }

private:
    // Due translators in address order, as they run; a sorted list rather
    // than a set, so that marking one due allocates nothing once it has room.
    std::vector<const Translator*> mPending;
    ParameterValues* mSource = nullptr;
    Endpoint mEndpoint = ENDPOINT_SPEAKER;
    bool mMono = false;
};

}  // namespace orvan
