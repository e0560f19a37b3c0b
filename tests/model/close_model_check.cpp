// Holds the library against the reference model of tests/close_model.h:
// random sequences of agent calls (groups, allow-lists and their entries,
// deletions, restarts with stale state left behind, service closes) run both
// in the model and against the library, and after every call the two
// configuration records must hold what the model holds.
//
//   close_model_check [COUNT [SEED]]     default: 2000 sequences, seed 1
//
// The sequences are a pure function of SEED. The first mismatch ends the run
// with status 1 and prints the sequence as hubstore-sim lines.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/service/hubstore_service.h>
#include "tests/model/close_model.h"
#include "tools/sim/config_dump.h"

namespace {

using hubstore::model::AgentCall;
using hubstore::model::CloseModel;
using hubstore::model::ConfigContents;
using hubstore::model::Side;

// SplitMix64: the same numbers on every platform and standard library.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
  }
  std::size_t below(std::size_t n) { return static_cast<std::size_t>(next() % n); }
  template <class T>
  const T& pick(const std::vector<T>& items) {
    return items[below(items.size())];
  }

 private:
  std::uint64_t state_;
};

const std::vector<std::string> kGroups = {"g1", "g2", "g3"};
const std::vector<std::string> kSwitchLists = {"L1", "L2"};
const std::vector<std::string> kVersionLists = {"V1", "V2"};

// A legal call, drawn so that lists mostly exist when their entries change
// and a sequence closes its service several times.
AgentCall randomCall(Random& random, const CloseModel& model) {
  while (true) {
    AgentCall call;
    call.kind = static_cast<AgentCall::Kind>(random.below(AgentCall::reopen + 1));
    call.side = random.below(2) ? Side::mount : Side::publish;
    call.value = random.below(4) != 0;
    call.version = static_cast<std::uint32_t>(random.below(4));
    call.switchNumber = static_cast<int>(random.below(3)) + 1;
    call.spelling = random.pick(hubstore::model::switchSpellings()).text;
    switch (call.kind) {
      case AgentCall::group:
      case AgentCall::groupDel:
      case AgentCall::staleGroup:
        call.name = random.pick(kGroups);
        break;
      case AgentCall::switchList:
      case AgentCall::switchListDel:
      case AgentCall::allowedSwitch:
      case AgentCall::allowedSwitchDel:
      case AgentCall::allowedSwitchDelAll:
      case AgentCall::staleSystem:
        call.name = random.pick(kSwitchLists);
        break;
      case AgentCall::versionList:
      case AgentCall::versionListDel:
      case AgentCall::allowedVersion:
      case AgentCall::allowedVersionDel:
      case AgentCall::allowedVersionDelAll:
      case AgentCall::staleVersion:
        call.name = random.pick(kVersionLists);
        break;
      default:
        break;
    }
    // Fewer endings, so that services live long enough to matter.
    const bool ending = call.kind == AgentCall::serviceDel || call.kind == AgentCall::restart;
    if (ending && random.below(3) != 0) continue;
    if (model.legal(call)) return call;
  }
}

// The five records of agent agentB and a service over them.
class LibraryWorld {
 public:
  LibraryWorld() {
    Controller::globalAgent = agent_.get();
    auto status = Hubstore::Status::StatusIs("status");
    status->leaderGenIdIs("gen-1");
    em_->entityIs("controller/status", status);
    em_->entityIs(mountConfigPath(), Controller::ServiceMountConfig::ServiceMountConfigIs("agentB"));
    em_->entityIs("controller/mount/status/service/agentB", Controller::ServiceMountStatus::ServiceMountStatusIs("agentB"));
    em_->entityIs(publishConfigPath(), Controller::ServicePublishConfig::ServicePublishConfigIs("agentB"));
    em_->entityIs("controller/publish/status/service/agentB",
                  Controller::ServicePublishStatus::ServicePublishStatusIs("agentB"));
  }
  ~LibraryWorld() {
    service_ = nullptr;
    Controller::globalAgent = nullptr;
  }
  LibraryWorld(const LibraryWorld&) = delete;
  LibraryWorld& operator=(const LibraryWorld&) = delete;

  void apply(const AgentCall& call) {
    const Vex::String name(call.name);
    switch (call.kind) {
      case AgentCall::service:
        service_ = Controller::HubstoreService::HubstoreServiceIs("svcA", em_, em_);
        break;
      case AgentCall::serviceDel:
        service_ = nullptr;
        break;
      case AgentCall::restart: {
        // The process dies: its records keep what they held.
        hubstore::sim::ConfigDump config(*em_, "agentB");
        const auto snapshot = config.snapshot();
        service_ = nullptr;
        config.restore(snapshot);
        break;
      }
      case AgentCall::group:
        service_->serviceMountGroupIs(name, nullptr);
        break;
      case AgentCall::groupDel:
        service_->serviceMountGroupDel(name);
        break;
      case AgentCall::switchList:
        service_->switchWhiteListIs(name);
        break;
      case AgentCall::switchListDel:
        service_->switchWhiteListDel(name);
        break;
      case AgentCall::allowedSwitch:
        service_->switchWhiteList(name)->allowedSwitchIs(switchId(call), call.value);
        break;
      case AgentCall::allowedSwitchDel:
        service_->switchWhiteList(name)->allowedSwitchDel(switchId(call));
        break;
      case AgentCall::allowedSwitchDelAll:
        service_->switchWhiteList(name)->allowedSwitchDelAll();
        break;
      case AgentCall::versionList:
        service_->versionWhiteListIs(name);
        break;
      case AgentCall::versionListDel:
        service_->versionWhiteListDel(name);
        break;
      case AgentCall::allowedVersion:
        service_->versionWhiteList(name)->allowedVersionIs(call.version, call.value);
        break;
      case AgentCall::allowedVersionDel:
        service_->versionWhiteList(name)->allowedVersionDel(call.version);
        break;
      case AgentCall::allowedVersionDelAll:
        service_->versionWhiteList(name)->allowedVersionDelAll();
        break;
      case AgentCall::staleGroup:
        if (call.side == Side::mount) {
          mountConfig()->mountGroupConfigIs(name);
        } else {
          publishConfig()->publishGroupConfigIs(name);
        }
        break;
      case AgentCall::staleSystem:
        if (call.side == Side::mount) {
          mountConfig()->systemFilterIs(name)->includedSystemIs(Vex::String(call.spelling), true);
        } else {
          publishConfig()->systemFilterIs(name)->includedSystemIs(Vex::String(call.spelling), true);
        }
        break;
      case AgentCall::staleVersion:
        if (call.side == Side::mount) {
          mountConfig()->versionFilterIs(name)->includedServiceVersionIs(call.version, true);
        } else {
          publishConfig()->versionFilterIs(name)->includedServiceVersionIs(call.version, true);
        }
        break;
      case AgentCall::close:
        service_->closedIs(true);
        break;
      case AgentCall::reopen:
        service_->closedIs(false);
        break;
    }
  }

  ConfigContents contents(Side side) const {
    ConfigContents contents;
    if (side == Side::mount) {
      const auto config = mountConfig();
      for (const auto& [name, group] : config->mountGroupConfigMembers().members()) contents.groups.insert(name.stdString());
      readFilters(*config, contents);
    } else {
      const auto config = publishConfig();
      for (const auto& [name, group] : config->publishGroupConfigMembers().members()) {
        contents.groups.insert(name.stdString());
      }
      readFilters(*config, contents);
    }
    return contents;
  }

 private:
  static std::string mountConfigPath() { return hubstore::sim::ConfigDump::mountConfigPath("agentB"); }
  static std::string publishConfigPath() { return hubstore::sim::ConfigDump::publishConfigPath("agentB"); }
  Vex::Ptr<Controller::ServiceMountConfig> mountConfig() const {
    return Vex::ptr_cast<Controller::ServiceMountConfig>(em_->getEntity(mountConfigPath()));
  }
  Vex::Ptr<Controller::ServicePublishConfig> publishConfig() const {
    return Vex::ptr_cast<Controller::ServicePublishConfig>(em_->getEntity(publishConfigPath()));
  }
  static Controller::SystemId switchId(const AgentCall& call) {
    return Controller::SystemId::fromString(hubstore::model::canonicalSpelling(call.switchNumber));
  }
  template <class Config>
  static void readFilters(const Config& config, ConfigContents& contents) {
    for (const auto& [name, filter] : config.systemFilterMembers().members()) {
      auto& members = contents.systemFilters[name.stdString()];
      for (const auto& [system, included] : filter->includedSystemMembers().entries()) members.insert(system.stdString());
    }
    for (const auto& [name, filter] : config.versionFilterMembers().members()) {
      auto& members = contents.versionFilters[name.stdString()];
      for (const auto& [version, included] : filter->includedServiceVersionMembers().entries()) members.insert(version);
    }
  }

  Vex::Ptr<Mirra::Agent> agent_ = Mirra::Agent::AgentIs("agentB");
  Vex::Ptr<Mirra::EntityManager> em_ = Mirra::EntityManager::EntityManagerIs();
  Vex::Ptr<Controller::HubstoreService> service_;
};

std::string describe(const ConfigContents& contents) {
  std::string text = "groups {";
  for (const auto& group : contents.groups) text += " " + group;
  text += " }";
  for (const auto& [name, members] : contents.systemFilters) {
    text += " systemFilter[" + name + "] {";
    for (const auto& system : members) text += " " + system;
    text += " }";
  }
  for (const auto& [name, members] : contents.versionFilters) {
    text += " versionFilter[" + name + "] {";
    for (const auto version : members) {
      text += ' ';
      text += std::to_string(version);
    }
    text += " }";
  }
  return text;
}

// Runs one sequence; returns false after printing the first mismatch.
bool runSequence(Random& random, std::size_t length, std::size_t& calls, std::size_t& closes) {
  CloseModel model;
  LibraryWorld library;
  std::vector<AgentCall> done;
  for (std::size_t step = 0; step < length; ++step) {
    const AgentCall call = randomCall(random, model);
    done.push_back(call);
    model.apply(call);
    library.apply(call);
    ++calls;
    if (call.kind == AgentCall::close) ++closes;
    for (const Side side : {Side::mount, Side::publish}) {
      const ConfigContents actual = library.contents(side);
      if (actual == model.config(side)) continue;
      std::printf("mismatch in %s after call %zu\n  library: %s\n  model:   %s\nscenario:\nagent agentB\nrecords\n",
                  side == Side::mount ? "mountConfig" : "publishConfig", step + 1, describe(actual).c_str(),
                  describe(model.config(side)).c_str());
      for (const AgentCall& previous : done) std::printf("%s\n", previous.scenarioLines().c_str());
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const unsigned long count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 2000;
  const std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
  Random random(seed);
  std::size_t calls = 0;
  std::size_t closes = 0;
  const auto start = std::chrono::steady_clock::now();
  for (unsigned long sequence = 0; sequence < count; ++sequence) {
    if (!runSequence(random, 10 + random.below(50), calls, closes)) {
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
