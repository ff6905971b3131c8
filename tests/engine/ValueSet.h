#pragma once

#include "model/ParameterValues.h"

namespace orvan::test {

// A value set that accepts every parameter, to feed translators directly.
class ValueSet : public ParameterValues {
public:
    const ParameterSet& getValidParams() const override {
        static const ParameterSet all = [] {
            ParameterSet params;
            for (size_t i = 0; i < kParameterCount; ++i) {
                params.insert(static_cast<Parameter>(i));
            }
            return params;
        }();
        return all;
    }
};

}  // namespace orvan::test
