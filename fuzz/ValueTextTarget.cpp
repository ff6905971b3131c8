#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz/FuzzTargets.h"
#include "storage/DatabaseHelper.h"
#include "tuningfile/IntegerText.h"

namespace orvan::fuzz {
namespace {

// A finding: abort, so the fuzzer keeps the input.
void check(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::string join(const Values& values) {
    std::string text;
    for (int32_t v : values) {
        text += std::to_string(v) + ",";
    }
    if (!text.empty()) {
        text.pop_back();
    }
    return text;
}

}  // namespace

int valueText(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    // The two list readers differ by design ("1-2" is {1} in a tuning file
    // and {1, -2} in the database), so they are not compared.
    const Values list = IntegerText::toList(text);
    Values stored;
    string2IntVector(text, stored);

    int32_t strict = 0;
    const int32_t lenient = IntegerText::toInt32(text);
    if (IntegerText::toInt32Strict(text, strict)) {
        check(strict == lenient);
        check(list == Values{strict});
    }
    if (!list.empty()) {
        check(lenient == list.front());
    }

    // Any list survives the way the database writes it and the readers read it.
    Values words(size / 4);
    if (!words.empty()) {
        std::memcpy(words.data(), data, words.size() * 4);
    }
    const std::string written = join(words);
    check(IntegerText::toList(written) == words);
    Values reread;
    string2IntVector(written, reread);
    check(reread == words);
    return 0;
}

}  // namespace orvan::fuzz

#ifdef ORVAX_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return orvan::fuzz::valueText(data, size);
}
#endif
