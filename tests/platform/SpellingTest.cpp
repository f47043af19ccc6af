#include "platform/media/Spelling.h"

#include <gtest/gtest.h>

#include "platform/core/Text.h"
#include "tests/support/Golden.h"

namespace platform {

namespace {

TEST(Spelling, TakesOneWordWithADigitOrWithoutAVowelForAnIdentifierAndGroupsItEvenly) {
    tests::ExpectScripts("platform/spelling", [] {
        return [](const std::string& quoted) {
            const auto text = FromUtf8(quoted.substr(1, quoted.size() - 2));
            return (IsIdentifier(text) ? testing::PrintToString(SpellingGroups(text)) : "words") + "\n";
        };
    });
}

}  // namespace

}  // namespace platform
