#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/Parameter.h"
#include "model/ParameterMap.h"
#include "model/ParameterSet.h"

namespace orvan {

// Base of every parameter-carrying record: a dirty-tracked map from Parameter
// to a list of 32-bit values, plus the database row id (-1 until stored).
class ParameterValues {
public:
    virtual int64_t getId() const { return mId; }
    // The settings database assigns row ids on insert and load.
    void setId(int64_t id) { mId = id; }
    virtual bool isDirty() const { return mDirty; }
    virtual void setDirty(bool dirty) { mDirty = dirty; }
    virtual ~ParameterValues() = default;
    virtual const ParameterSet& getValidParams() const = 0;

    // Replaces the values of `p` whatever the valid set says; always dirties.
    void set(Parameter p, const Values& values);
    void set(Parameter p, Values&& values);
    // Stores `values` only for a valid parameter whose values differ; returns
    // whether anything changed. A valid absent parameter is inserted empty first.
    bool checkAndUpdate(Parameter p, const Values& values);
    // Compares the maps only: ids, dirty flags and derived fields are ignored.
    bool equals(const ParameterValues& other) const;
    // One "name=v1,v2,\n" line per entry, without "ieq_id".
    std::string valuesToString() const;

    const ParameterMap& getValues() const { return mValues; }
    // The values of `p`, or null when the record holds none.
    const Values* find(Parameter p) const;
    // Map access that inserts an empty list for an absent parameter.
    Values& at(Parameter p) { return mValues[p]; }

protected:
    explicit ParameterValues(int64_t id = -1, bool dirty = true) : mId(id), mDirty(dirty) {}
    ParameterValues(const ParameterValues&) = default;
    ParameterValues& operator=(const ParameterValues&) = default;

    int64_t mId;
    bool mDirty;
    ParameterMap mValues;
};

}  // namespace orvan
