#include "tools/sim/scenario_parser.h"

#include <gtest/gtest.h>

#include "tools/sim/word_forms.h"

namespace hubstore::sim {
namespace {

using Args = std::vector<std::string>;
using Fields = std::vector<std::pair<std::string, std::string>>;

ParseResult parse(std::string_view text) { return parseScenario("t.scn", text); }

// A line that must parse into exactly one command.
Command one(const std::string& line) {
  ParseResult r = parse(line);
  EXPECT_EQ(r.errors, Args{}) << line;
  EXPECT_EQ(r.commands.size(), 1u) << line;
  return r.commands.empty() ? Command{} : r.commands[0];
}

TEST(ScenarioLexing, QuotesEscapesAndComments) {
  EXPECT_EQ(one(R"(echo a#b "#c" x"y z"w "" "q\"b\\" "a\nb" # gone "too)").args,
            (Args{"a#b", "#c", "xy zw", "", "q\"b\\", "a\\nb"}));
  EXPECT_EQ(one("\techo\t tab   \r").args, Args{"tab"});
  EXPECT_EQ(one("echo #").args, Args{});
  EXPECT_EQ(one("  group\t g  \"m 1\"  # the mounter").source, "group g \"m 1\"");
}

TEST(ScenarioLexing, EveryBadLineIsReportedWithItsNumber) {
  ParseResult r = parse("# comment\n\n   \nservice s\nclosed maybe\necho \"open\n  group g m\nmountState s g\ndump");
  EXPECT_EQ(r.errors, (Args{"t.scn:5: error: 'closed' takes BOOL (true or false), got 'maybe'",
                            "t.scn:6: error: unterminated quote: \"open",
                            "t.scn:8: error: 'mountState' takes 3 words (mountState SYS G STATE), got 2"}));
  Args commands;
  for (const Command& c : r.commands) {
    commands.push_back(std::to_string(c.line) + " " + c.verb);
    for (const std::string& arg : c.args) commands.back() += " " + arg;
  }
  EXPECT_EQ(commands, (Args{"4 service s", "7 group g m", "9 dump"}));
}

TEST(ScenarioCommands, OptionalWordsAndNameValueWords) {
  EXPECT_EQ(one("records").fields, Fields{});
  EXPECT_EQ(one(R"(records leaderGenId="g=1 x")").fields, (Fields{{"leaderGenId", "g=1 x"}}));
  const Command s = one(R"(systemStatus sw1 "a=b"=mounted g2=failed)");
  EXPECT_EQ(s.args, (Args{"sw1", "a=b=mounted", "g2=failed"}));
  EXPECT_EQ(s.fields, (Fields{{"a=b", "mounted"}, {"g2", "failed"}}));
  EXPECT_EQ(one("record p ServiceMountConfig").scalar, "Controller::ServiceMountConfig");
  EXPECT_EQ(one("record p Hubstore::Status").scalar, "Hubstore::Status");
  // The fuzzer's alphabet test parses the other forms of every verb.
  for (const char* line :
       {"allowedVersion v 4294967295 true", "echo", R"(controllerMount g /r /h nfs "")", "explain", "explain g"}) {
    one(line);
  }
}

// Each bad line is the only line of its scenario; the message is its single
// error or a part of it.
TEST(ScenarioCommands, RejectsEachBadLineWithItsReason) {
  const std::string when = "when m doMountsComplete g ";
  const std::string group = "set mountConfig.mountGroupConfig[g]";
  const std::pair<std::string, std::string> cases[] = {
      {"grop g m", "t.scn:1: error: unknown command 'grop'"},
      {"group g", "'group' takes 2 words (group G M|none), got 1"},
      {"mounter", "'mounter' takes 1 to 3 words (mounter M [default | counting | throwing HOOK]), got 0"},
      {"mounter m x", "'mounter' takes 'default', 'counting' or 'throwing HOOK' after M, got 'x'"},
      {"mounter m throwing", "after M, got 'throwing'"},
      {"mounter m default doMountsComplete", "after M, got 'default doMountsComplete'"},
      {"mounter m throwing doMountComplete",
       "'mounter' takes HOOK (doHandleControllerMountState, doMountsComplete or doInitialSwitchMountsComplete), got "
       "'doMountComplete'"},
      {"mounter m throwing doMountsComplete x", "takes 1 to 3 words"},
      {"systemStatus", "takes at least 1 word (systemStatus SYS [G=STATE ...]), got 0"},
      {"systemStatus s g=up", "got 'g=up'"},
      {"serviceMountGroupStatus s g x y", "takes 2 or 3 words"},
      {"mountState s g Mounted", "takes STATE (unknown, mounting, mounted, "},
      {"allowedSwitch l 00:1c:73-00:00:01 true", "got '00:1c:73-00:00:01'"},
      {"allowedVersion v 4294967296 true", "takes N as a decimal number"},
      {"allowedVersionDel v -1", "got '-1'"},
      {"trace 5 7", "'trace' takes 1 word"},
      {"record p Controller::Status", "takes TYPE, one of"},
      {"records genId=x", "'records' takes leaderGenId=ID, got 'genId=x'"},
      {"dump now", "'dump' takes no words (dump), got 1"},
      {"explain g h", "'explain' takes 0 or 1 word (explain [G]), got 2"},
      // What a hook is to run.
      {"when m doMountsComplete g", "'when' takes at least 4 words (when M HOOK G|* COMMAND ...), got 3"},
      {"when m doMountComplete g closed true", "'when' takes HOOK (doHandleControllerMountState, "},
      {when + "closed maybe",
       "t.scn:1: error: in the command of 'when': 'closed' takes BOOL (true or false), got 'maybe'"},
      {when + "frobnicate", "in the command of 'when': unknown command 'frobnicate'"},
      {when + "mounter", "in the command of 'when': 'mounter' takes 1 to 3 words"},
      {when + "when m doMountsComplete g closed true", "a hook runs an agent or mount machinery command, not 'when'"},
      {when + "whenDel", "'whenDel' takes 1 word"},
      {when + "repeat 2 closed true", "a hook runs an agent or mount machinery command, not 'repeat'"},
      // Repeats: ranges, braces, and the commands they make.
      {"repeat 3", "t.scn:1: error: 'repeat' takes at least 2 words (repeat [VAR=]N|FROM..TO COMMAND ...), got 1"},
      {"repeat 3 repeat 2", "takes at least 2 words (repeat [VAR=]N|FROM..TO COMMAND ...), got 1"},
      {"repeat x echo",
       "'repeat' takes [VAR=]N or [VAR=]FROM..TO (VAR a name, N, FROM and TO numbers from 0 to 4294967295), got 'x'"},
      {"repeat 4294967296 echo", "got '4294967296'"},
      {"repeat 1..-2 echo", "got '1..-2'"},
      {"repeat 2x=3 echo", "got '2x=3'"},
      {"repeat 3 repeat 1..4 echo", "'repeat' inside a repeat of i needs a variable of its own, e.g. j=1..4"},
      {"repeat 3 echo {j}", "t.scn:1: error: '{j}' names no variable of its repeat (i)"},
      {"repeat 3 echo {i", "'{' without its '}' in '{i' (quote a brace that stands for itself)"},
      {"repeat 3 echo {i\"}\"", "'{' without its '}'"},
      {"repeat 3 echo {}", "'{}' is neither {VAR}, {VAR:FORMAT} nor {FROM..TO}"},
      {"repeat 3 echo {1..x}", "'{1..x}' is a range {FROM..TO} whose ends are not numbers from 0 to 4294967295"},
      {"repeat 3 echo {i:zz}",
       "'{i:zz}' has no FORMAT of a variable: 0s for a zero-padded decimal ({i:000}), or x's with : - or . between "
       "for hexadecimal ({i:xx:xx:xx})"},
      {"repeat 3 echo {i::xx}", "has no FORMAT"},
      {"repeat 3 echo {i:xx:}", "has no FORMAT"},
      {"repeat 257 echo {i:xx}", "'{i:xx}' holds numbers up to 255, and i goes up to 256"},
      {"repeat n=100..0 echo {n:00}", "'{n:00}' holds numbers up to 99, and n goes up to 100"},
      {"repeat 3 echo {0..9999} {0..1}", "the command of 'repeat' expands to more than 10000 words"},
      {"repeat 0 mountState s{i} g", "in 'mountState s0 g' (i=0): 'mountState' takes 3 words"},
      {"repeat 5..15 allowedSwitch l 00:1c:73:00:00:{i} true",
       "in 'allowedSwitch l 00:1c:73:00:00:5 true' (i=5): 'allowedSwitch' takes SYS as an Ethernet address"},
      {"repeat 8..10 trace {i}", "in 'trace 10' (i=10): 'trace' takes LEVELS"},
      // set and unset: the place and the value.
      {"set mountConfig.foo = x", "ServiceMountConfig has no attribute 'foo'"},
      {"set config.warm = true", "begins with mountConfig or publishConfig"},
      {"set mountConfig.mountGroupConfig = ServiceMountGroupConfig", "name a member as mountGroupConfig[G]"},
      {"set mountConfig.warm[x] = true", "'warm' is not a collection"},
      {"set mountConfig.warm.x = true", "'warm' has no members"},
      {"unset mountConfig.mountGroupConfig[]", "empty key"},
      {"unset mountConfig.mountGroupConfig[a", "missing ']'"},
      {"unset mountConfig.mountGroupConfig[a[b]", "'[' inside a key"},
      {"unset mountConfig.mountGroupConfig[a]x", "expected '.' after ']'"},
      {"unset mountConfig..warm", "empty attribute name"},
      {"unset mountConfig.versionFilter[v].includedServiceVersion[x]",
       "the key of 'includedServiceVersion' is a decimal number"},
      {"unset mountConfig.warm x", "'unset' takes LHS, got 2 words"},
      {"set mountConfig.warm true", "got 'true' where '=' belongs"},
      {"set mountConfig.warm = yes", "'mountConfig.warm' takes BOOL (true or false), got 'yes'"},
      {"set mountConfig.serviceName = a b", "takes one word"},
      {group + " = none", "takes the type name ServiceMountGroupConfig, got 'none'"},
      {group + ".mountConfig[r] = vexcFlags=f vexcType=t hubstorePath=p",
       "takes vexcType=TYPE vexcFlags=FLAGS hubstorePath=PATH, got"},
      {group + ".mountConfig[r] = vexcType=t vexcFlags=f", "takes vexcType=TYPE"},
      {"set publishConfig.publishGroupConfig[g].publishDir[h] = vexcType=t remoteTargetPath=r readyToPublish=yes",
       "readyToPublish=BOOL (BOOL: true or false), got"},
      {group + ".systemFilter = mountConfig.versionFilter[v]", "the place of a MountFilterSystem record"},
      {group + ".versionFilter = detached", "takes FILTER"},
  };
  for (const auto& [line, message] : cases) {
    const ParseResult r = parse(line);
    EXPECT_TRUE(r.commands.empty()) << line;
    ASSERT_EQ(r.errors.size(), 1u) << line;
    EXPECT_NE(r.errors[0].find(message), std::string::npos) << line << "\n  gave: " << r.errors[0];
  }
}

// The scenarios run what a hook is given; this is how the words arrive.
TEST(ScenarioHookCommands, WhenCarriesItsWordsAsTextAndItsCommandParsedAtItsOwnLine) {
  const Command when =
      parse("echo x\nwhen m doMountsComplete \"g 1\" mounter n throwing doMountsComplete").commands.at(1);
  EXPECT_EQ(when.args, (Args{"m", "doMountsComplete", "g 1"}));
  ASSERT_TRUE(when.action);
  EXPECT_EQ(when.action->args, (Args{"n", "throwing", "doMountsComplete"}));
  EXPECT_EQ(when.action->line, 2);
}

// The commands a repeat line stands for, at most 5, each as its source with
// its bindings and args, or the error that ended them; a hook's command as
// its source after a '|'.
Args repeated(const std::string& line) {
  const Command repeat = one(line);
  Args out;
  const auto error = forEachRepeated(repeat, [&](const Command& c) {
    std::string args;
    for (const std::string& arg : c.args) args += " " + arg;
    if (c.action) args += " | " + c.action->source + " at " + std::to_string(c.action->line);
    out.push_back(c.bindings + ": " + c.source + " ->" + args);
    return out.size() < 5;
  });
  if (error) out.push_back(*error);
  return out;
}

// Loops nest outer first, count either way and stop when told. A word per
// number of a range, the leftmost stepping last; padded when an end has a
// leading 0. Quotes keep braces and stay in the source as written.
TEST(ScenarioRepeat, ExpandsLoopsRangesFormatsAndQuotes) {
  const std::pair<std::string, Args> cases[] = {
      {"repeat 3 echo {i}", {"i=0: echo 0 -> 0", "i=1: echo 1 -> 1", "i=2: echo 2 -> 2"}},
      {"repeat 0 echo {i}", {}},
      {"repeat 10 echo", {"i=0: echo ->", "i=1: echo ->", "i=2: echo ->", "i=3: echo ->", "i=4: echo ->"}},
      {"repeat 4294967295..4294967295 echo {i}", {"i=4294967295: echo 4294967295 -> 4294967295"}},
      {"repeat g=2..1 repeat 1..2 mountState s{i} g{g} mounted",
       {"g=2, i=1: mountState s1 g2 mounted -> s1 g2 mounted", "g=2, i=2: mountState s2 g2 mounted -> s2 g2 mounted",
        "g=1, i=1: mountState s1 g1 mounted -> s1 g1 mounted", "g=1, i=2: mountState s2 g1 mounted -> s2 g1 mounted"}},
      // The checks before the run see the first and the last command; a
      // value between them may still make a command that does not parse,
      // and ends the expansion there.
      {"repeat i=0..2 repeat j=0..2 trace {i}-{j}",
       {"i=0, j=0: trace 0-0 -> 0-0", "i=0, j=1: trace 0-1 -> 0-1", "i=0, j=2: trace 0-2 -> 0-2",
        "in 'trace 1-0' (i=1, j=0): 'trace' takes LEVELS (levels 0-9 as a comma list of levels and ranges, e.g. 5,7 "
        "or 0-8) or off, got '1-0'"}},
      {"repeat 2 when m doMountsComplete g{i} groupDel g{i}",
       {"i=0: when m doMountsComplete g0 groupDel g0 -> m doMountsComplete g0 | groupDel g0 at 1",
        "i=1: when m doMountsComplete g1 groupDel g1 -> m doMountsComplete g1 | groupDel g1 at 1"}},
      {R"(repeat 1..2 systemStatus 00:1c:73:{i:xx:xx:xx} g{1..2}="mount"ing)",
       {"i=1: systemStatus 00:1c:73:00:00:01 g1=\"mount\"ing g2=\"mount\"ing -> 00:1c:73:00:00:01 g1=mounting "
        "g2=mounting",
        "i=2: systemStatus 00:1c:73:00:00:02 g1=\"mount\"ing g2=\"mount\"ing -> 00:1c:73:00:00:02 g1=mounting "
        "g2=mounting"}},
      {"repeat 41..42 echo {i:xxxx.xxxx.xxxx} {i:xx-xx} {i:000}",
       {"i=41: echo 0000.0000.0029 00-29 041 -> 0000.0000.0029 00-29 041",
        "i=42: echo 0000.0000.002a 00-2a 042 -> 0000.0000.002a 00-2a 042"}},
      {"repeat 1 echo g{1..2}{08..10} {3..1} {0..0}",
       {"i=0: echo g108 g109 g110 g208 g209 g210 3 2 1 0 -> g108 g109 g110 g208 g209 g210 3 2 1 0"}},
      {R"(repeat 1 echo "{i} x"{i} "" a"#"b "{j}")", {R"(i=0: echo "{i} x"0 "" a"#"b "{j}" -> {i} x0  a#b {j})"}},
  };
  for (const auto& [line, commands] : cases) EXPECT_EQ(repeated(line), commands) << line;
  // Braces mean nothing outside a repeat.
  EXPECT_EQ(one("echo {i} {0..1}").args, (Args{"{i}", "{0..1}"}));
}

TEST(ScenarioSet, FilterValues) {
  const std::string lhs = "set mountConfig.mountGroupConfig[g].systemFilter = ";
  const ConfigPath bound{{"publishConfig", {}}, {"systemFilter", "l 1"}};
  using Value = std::pair<std::optional<ConfigPath>, std::optional<std::string>>;
  for (const auto& [value, filter] : std::initializer_list<std::pair<std::string, Value>>{
           {R"(publishConfig.systemFilter["l 1"])", {bound, {}}}, {R"(detached "")", {{}, ""}}, {"none", {}}}) {
    const Command c = one(lhs + value);
    EXPECT_EQ(Value(c.filter, c.detachedName), filter) << value;
  }
}

TEST(ScenarioSet, QuotedKeysAndValuesReadBack) {
  EXPECT_EQ(quoteIfNeeded("/mnt/a-b_c.d:1,2#"), "/mnt/a-b_c.d:1,2#");
  EXPECT_EQ(quoteIfNeeded(R"(a"b\)"), R"("a\"b\\")");
  // Which words are quoted, and how, the hooks_quoted_names scenario shows.
  for (const std::string s : {"", "a b", "x]y", "[", "a.b", "k=v", "#hash", "x#y", "tab\there", "q\"uote", "\"",
                              "back\\slash", "a\"\\\"b", "\\"}) {
    const ConfigPath lhs{{"publishConfig", {}}, {"publishGroupConfig", s}, {"publishDir", s}};
    const Command c = one("set " + formatConfigPath(lhs) + " = vexcType=" + quoteIfNeeded(s) +
                          " remoteTargetPath=" + quoteIfNeeded(s) + " readyToPublish=true");
    EXPECT_EQ(c.lhs, lhs) << s;
    EXPECT_EQ(c.fields, (Fields{{"vexcType", s}, {"remoteTargetPath", s}, {"readyToPublish", "true"}})) << s;
    EXPECT_EQ(one("set mountConfig.serviceName = " + quoteIfNeeded(s)).scalar, s);
  }
}

TEST(TraceLevels, MasksAndMalformedLists) {
  const std::pair<const char*, unsigned> masks[] = {
      {"5", 1u << 5}, {"5,7", (1u << 5) | (1u << 7)}, {"0-8", 0x1ffu}, {"9,0-1,1", 0x203u}, {"off", 0u}};
  for (const auto& [text, mask] : masks) EXPECT_EQ(parseTraceLevels(text), mask) << text;
  for (const char* bad : {"", "10", "5-3", "1,", ",1", "1-", "a", "1 ,2", "off,1", "-1", "1--2", "0-10"}) {
    EXPECT_EQ(parseTraceLevels(bad), std::nullopt) << bad;
  }
}

}  // namespace
}  // namespace hubstore::sim
