#pragma once

#include <map>
#include <set>
#include <string>

#include "tuningfile/ValueSetter.h"

namespace orvan {

// The tuning file's parameter vocabulary: one setter per element name.
class SetterCollection {
public:
    // All 81 setters, built at library load and kept for its lifetime.
    static const std::set<const ValueSetter*> kAllValueSetters;

    SetterCollection();

    // The setter for an element name, or null. Lookups never change the
    // collection, so one collection can serve several parsers at once.
    const ValueSetter* getValueSetter(const std::string& name) const;
    size_t size() const { return mSetters.size(); }

private:
    std::map<std::string, const ValueSetter*> mSetters;
};

}  // namespace orvan
