#include "tools/sim/scenario_words.h"

#include <gtest/gtest.h>

namespace hubstore::sim {
namespace {

// Which words are quoted, and how, the hooks_quoted_names scenario shows.
TEST(ScenarioWords, AQuotedWordReadsBackAsItsText) {
  for (const std::string text : {"g1", "a=b[c]", "x#y", "", "a b", "tab\there", "#tag", "say \"hi\"", "back\\slash",
                                 "\\", "\"", "a\"\\\"b"}) {
    std::vector<Word> words;
    EXPECT_EQ(lexLine(quoteWord(text), words), std::nullopt) << text;
    ASSERT_EQ(words.size(), 1u) << quoteWord(text);
    EXPECT_EQ(words[0].text, text);
  }
}

}  // namespace
}  // namespace hubstore::sim
