#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/common/TempRoot.h"

namespace orvan::test {

// Writes `content` to `name` under the root and returns its path.
inline std::string writeFile(const TempRoot& root, const std::string& name, const std::string& content) {
    const std::string path = root.path() + "/" + name;
    std::ofstream(path) << content;
    return path;
}

// Collects what the platform log prints on the host (stderr) from construction
// to the first look at the text.
class LogCapture {
public:
    LogCapture() { testing::internal::CaptureStderr(); }
    ~LogCapture() { text(); }
    const std::string& text() {
        if (!mDone) {
            mText = testing::internal::GetCapturedStderr();
            mDone = true;
        }
        return mText;
    }
    bool contains(const std::string& line) { return text().find(line) != std::string::npos; }

private:
    bool mDone = false;
    std::string mText;
};

}  // namespace orvan::test
