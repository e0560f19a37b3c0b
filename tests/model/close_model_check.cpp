// Holds the library against the reference model of close_model.h:
// random sequences of agent calls (groups, allow-lists and their entries,
// deletions, restarts with stale state left behind, service closes) run both
// in the model and against the library (through hubstore-sim, as the lines
// the model writes for them), and after every call the two configuration
// records must hold what the model holds.
//
//   close_model_check [COUNT [SEED]]     default: 2000 sequences, seed 1
//
// The sequences are a pure function of SEED. The first mismatch ends the run
// with status 1 and prints the sequence as hubstore-sim lines.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include "tests/model/close_model.h"
#include "tools/sim/config_dump.h"
#include "tools/sim/output.h"
#include "tools/sim/scenario_parser.h"
#include "tools/sim/simulator.h"

namespace hubstore::model {
namespace {

// std::mt19937_64 gives the same numbers on every platform and standard
// library; so does taking them modulo n.
std::size_t below(std::mt19937_64& random, std::size_t n) { return static_cast<std::size_t>(random() % n); }
template <class T>
const T& pick(std::mt19937_64& random, const std::vector<T>& items) {
  return items[below(random, items.size())];
}

// The names the calls draw from: groups, and lists of each kind.
const std::vector<std::string> kGroups = {"g1", "g2", "g3"};
const std::vector<std::string> kLists[] = {{"L1", "L2"}, {"V1", "V2"}};

// A legal call, drawn so that lists mostly exist when their entries change
// and a sequence closes its service several times.
AgentCall randomCall(std::mt19937_64& random, const CloseModel& model) {
  while (true) {
    AgentCall call;
    call.kind = static_cast<AgentCall::Kind>(below(random, AgentCall::reopen + 1));
    call.listKind = below(random, 2) ? switches : versions;
    call.side = below(random, 2) ? Side::mount : Side::publish;
    call.value = below(random, 4) != 0;
    // A list writes a switch in its canonical spelling; stale state may hold any.
    const std::string spelling = pick(random, switchSpellings()).text;
    const std::string canonical = canonicalSpelling(static_cast<int>(below(random, 3)) + 1);
    const std::string version = std::to_string(below(random, 4));
    call.key = call.listKind == versions ? version : call.kind == AgentCall::staleMember ? spelling : canonical;
    const bool groupCall =
        call.kind == AgentCall::group || call.kind == AgentCall::groupDel || call.kind == AgentCall::staleGroup;
    call.name = pick(random, groupCall ? kGroups : kLists[call.listKind]);
    // Fewer endings, so that services live long enough to matter.
    const bool ending = call.kind == AgentCall::serviceDel || call.kind == AgentCall::restart;
    if (ending && below(random, 3) != 0) continue;
    if (model.legal(call)) return call;
  }
}

// The library, driven through hubstore-sim by the calls' own scenario lines,
// on the five records of agent agentB.
class LibraryWorld {
 public:
  LibraryWorld() {
    out_.quietIs(true);
    run("agent agentB\nrecords");
  }

  // False after printing why the lines did not run.
  bool run(const std::string& lines) {
    const hubstore::sim::ParseResult parsed = hubstore::sim::parseScenario("model", lines);
    for (const std::string& error : parsed.errors) std::printf("%s\n", error.c_str());
    return parsed.errors.empty() && sim_.run(parsed.commands, stdout) == 0;
  }

  ConfigContents contents(Side side) const {
    ConfigContents contents;
    auto read = [&](const auto& config, const auto& groupConfigs) {
      for (const auto& [name, group] : groupConfigs.members()) contents.groups.insert(name.stdString());
      for (const auto& [name, filter] : config.systemFilterMembers().members()) {
        auto& members = contents.filters[switches][name.stdString()];
        for (const auto& [system, on] : filter->includedSystemMembers().entries()) members.insert(system.stdString());
      }
      for (const auto& [name, filter] : config.versionFilterMembers().members()) {
        auto& members = contents.filters[versions][name.stdString()];
        for (const auto& [n, on] : filter->includedServiceVersionMembers().entries()) members.insert(std::to_string(n));
      }
    };
    // The records at the paths: a restart may have put others there.
    if (side == Side::mount) {
      const auto config = Vex::ptr_cast<Controller::ServiceMountConfig>(
          sim_.entityManager().getEntity(hubstore::sim::ConfigDump::mountConfigPath("agentB")));
      read(*config, config->mountGroupConfigMembers());
      contents.warm = config->warm();
    } else {
      const auto config = Vex::ptr_cast<Controller::ServicePublishConfig>(
          sim_.entityManager().getEntity(hubstore::sim::ConfigDump::publishConfigPath("agentB")));
      read(*config, config->publishGroupConfigMembers());
    }
    return contents;
  }

 private:
  hubstore::sim::Output out_{stdout};
  hubstore::sim::Simulator sim_{out_};
};

std::string listed(const std::string& label, const std::set<std::string>& members) {
  std::string text = label + " {";
  for (const std::string& member : members) text += " " + member;
  return text + " }";
}

std::string describe(const ConfigContents& contents) {
  std::string text = listed(contents.warm ? "warm, groups" : "groups", contents.groups);
  for (const auto kind : {switches, versions}) {
    for (const auto& [name, members] : contents.filters[kind]) {
      text += listed(std::string(kind == switches ? " systemFilter[" : " versionFilter[") + name + "]", members);
    }
  }
  return text;
}

// Runs one sequence; returns false after printing the first mismatch.
bool runSequence(std::mt19937_64& random, std::size_t length, std::size_t& calls, std::size_t& closes) {
  CloseModel model;
  LibraryWorld library;
  std::vector<AgentCall> done;
  auto failed = [&](const std::string& what) {
    std::printf("%s\nscenario:\nagent agentB\nrecords\n", what.c_str());
    for (const AgentCall& previous : done) std::printf("%s\n", previous.scenarioLines().c_str());
    return false;
  };
  for (std::size_t step = 0; step < length; ++step) {
    const AgentCall call = randomCall(random, model);
    done.push_back(call);
    model.apply(call);
    if (!library.run(call.scenarioLines())) return failed("call " + std::to_string(step + 1) + " did not run");
    ++calls;
    if (call.kind == AgentCall::close) ++closes;
    for (const Side side : {Side::mount, Side::publish}) {
      const ConfigContents actual = library.contents(side);
      if (actual == model.config(side)) continue;
      return failed(std::string("mismatch in ") + (side == Side::mount ? "mountConfig" : "publishConfig") +
                    " after call " + std::to_string(step + 1) + "\n  library: " + describe(actual) +
                    "\n  model:   " + describe(model.config(side)));
    }
  }
  return true;
}

}  // namespace
}  // namespace hubstore::model

int main(int argc, char** argv) {
  const unsigned long count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 2000;
  const std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
  std::mt19937_64 random(seed);
  std::size_t calls = 0;
  std::size_t closes = 0;
  const auto start = std::chrono::steady_clock::now();
  for (unsigned long sequence = 0; sequence < count; ++sequence) {
    if (!hubstore::model::runSequence(random, 10 + hubstore::model::below(random, 50), calls, closes)) {
      std::printf("sequence %lu of seed %llu\n", sequence, static_cast<unsigned long long>(seed));
      return 1;
    }
  }
  if (Vex::liveObjectCount() != 0) {
    std::printf("objects outlived the sequences\n");
    return 1;
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("%lu sequences (seed %llu), %zu calls, %zu service closes: library and model agree (%.1f s)\n", count,
              static_cast<unsigned long long>(seed), calls, closes, seconds);
  return 0;
}
