#include "tools/sim/repetition.h"

#include <gtest/gtest.h>

namespace hubstore::sim {
namespace {

using Lines = std::vector<std::string>;

// The words after `repeat` in `line`, read into a repetition that must parse.
Repetition parsed(std::string_view line) {
  std::vector<Word> words;
  EXPECT_EQ(lexLine(line, words), std::nullopt);
  Repetition repetition;
  EXPECT_EQ(Repetition::parse(words, repetition), std::nullopt) << line;
  return repetition;
}

// Each command as written ("raw") with its bindings, in order.
Lines commands(std::string_view line) {
  const Repetition repetition = parsed(line);
  Lines out;
  repetition.forEach([&](std::span<const Word> words, const Repetition::Values& values) {
    out.push_back(repetition.bindings(values) + ": " + joinRaw(words));
    return true;
  });
  return out;
}

TEST(Repetition, LoopsNestOuterFirstAndCountEitherWay) {
  EXPECT_EQ(commands("3 echo {i}"), (Lines{"i=0: echo 0", "i=1: echo 1", "i=2: echo 2"}));
  EXPECT_EQ(commands("g=2..1 repeat 1..2 mountState s{i} g{g} mounted"),
            (Lines{"g=2, i=1: mountState s1 g2 mounted", "g=2, i=2: mountState s2 g2 mounted",
                   "g=1, i=1: mountState s1 g1 mounted", "g=1, i=2: mountState s2 g1 mounted"}));
  EXPECT_EQ(commands("4294967295..4294967295 echo {i}"), (Lines{"i=4294967295: echo 4294967295"}));

  // A loop that runs no time runs nothing, yet has values to check its
  // command with.
  const Repetition none = parsed("0 echo {i}");
  std::size_t visits = 0;
  none.forEach([&](auto, auto) { return ++visits, true; });
  EXPECT_EQ(visits, 0u);
  EXPECT_EQ(none.firstValues(), Repetition::Values{0});
  EXPECT_EQ(none.lastValues(), Repetition::Values{0});

  // Stops when told.
  parsed("10 echo").forEach([&](auto, auto) { return ++visits < 3; });
  EXPECT_EQ(visits, 3u);
}

TEST(Repetition, FormatsAndWordRanges) {
  EXPECT_EQ(commands("41..42 x 00:1c:73:{i:xx:xx:xx} {i:xxxx.xxxx.xxxx} {i:xx-xx} {i:000} {i}"),
            (Lines{"i=41: x 00:1c:73:00:00:29 0000.0000.0029 00-29 041 41",
                   "i=42: x 00:1c:73:00:00:2a 0000.0000.002a 00-2a 042 42"}));
  // A word per number, the leftmost range stepping last; padded when an end
  // has a leading 0; counting down.
  EXPECT_EQ(commands("1 systemStatus s{i} g{1..2}{08..10}=up {3..1} {0..0}"),
            (Lines{"i=0: systemStatus s0 g108=up g109=up g110=up g208=up g209=up g210=up 3 2 1 0"}));
}

TEST(Repetition, QuotesKeepBracesAndStayInTheWordsAsWritten) {
  const Repetition repetition = parsed(R"(1 echo "{i} x"{i} "" a"#"b)");
  std::vector<Word> words;
  repetition.expand(repetition.firstValues(), words);
  ASSERT_EQ(words.size(), 4u);
  EXPECT_EQ(words[1].raw, R"("{i} x"0)");
  EXPECT_EQ(words[1].text, "{i} x0");
  ASSERT_EQ(words[1].chars.size(), 6u);
  EXPECT_TRUE(words[1].chars[0].quoted);
  EXPECT_FALSE(words[1].chars[5].quoted);
  EXPECT_EQ(words[2].raw, R"("")");
  EXPECT_TRUE(words[2].chars.at(0).emptyQuotes);
  EXPECT_EQ(words[3].text, "a#b");
}

}  // namespace
}  // namespace hubstore::sim
