#define LOG_TAG "ParameterTranslator"

#include "engine/ParameterTranslator.h"

#include <algorithm>
#include <functional>

#include <log/log.h>

namespace orvan {

void ParameterTranslator::setSource(ParameterValues* source, Endpoint endpoint, bool mono) {
    mSource = source;
    mEndpoint = endpoint;
    mMono = mono;
}

void ParameterTranslator::onParameterChanged(Parameter p) {
    if (static_cast<size_t>(p) >= kParameterCount) {
        ALOGW("onParameterChanged() no parameter %d", static_cast<int>(p));
        return;
    }
    const Translator* translator = sTranslatorCollection.getTranslator(p);
    if (translator == nullptr) {
        return;
    }
    const auto at = std::lower_bound(mPending.begin(), mPending.end(), translator, std::less<const Translator*>());
    if (at == mPending.end() || *at != translator) {
        mPending.insert(at, translator);
    }
}

void ParameterTranslator::translatePending(SetParamCommand& command) {
    if (mSource == nullptr) {
        if (!mPending.empty()) {
            ALOGE("translatePending() %zu translators due but no value set; dropped",
                  mPending.size());
        }
        mPending.clear();
        return;
    }
    for (const Translator* translator : mPending) {
        translator->tevTranslate(command, *mSource, mEndpoint, mMono);
    }
    mPending.clear();
}

void ParameterTranslator::translateAll(SetParamCommand& command) {
    if (mSource == nullptr) {
        ALOGE("translateAll() no value set to translate");
        mPending.clear();
        return;
    }
    for (Parameter p : mSource->getValidParams()) {
        onParameterChanged(p);
    }
    translatePending(command);
}

}  // namespace orvan
