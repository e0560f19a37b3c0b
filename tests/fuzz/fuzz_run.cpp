#include "tests/fuzz/fuzz_run.h"

#include <cstdlib>
#include <optional>
#include <sstream>

#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/service/hubstore_service.h>
#include "tests/fuzz/world_invariants.h"

namespace hubstore::fuzz {
namespace {

std::FILE* transcriptStream(void* cookie, cookie_write_function_t* write) {
  cookie_io_functions_t functions{};
  functions.write = write;  // null: the stream discards what it is given
  std::FILE* stream = fopencookie(cookie, "w", functions);
  if (!stream) std::abort();
  // Each write reaches the cookie at once, in the order of events.
  std::setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

// Whether the command may take a record out of a configuration record, or
// put another record in the place of one.
bool editsConfiguration(const sim::Command& command) {
  return command.verb == "unset" || command.verb == "record" || command.verb == "recordDel" ||
         (command.verb == "set" && command.lhs.size() == 1);
}

template <class Record>
bool recordAt(const Mirra::EntityManager& em, const std::string& path) {
  return static_cast<bool>(Vex::ptr_cast<Record>(em.getEntity(path)));
}

}  // namespace

FuzzRun::FuzzRun(std::string_view scenario)
    : scenario_(scenario),
      transcript_(transcriptStream(this, &FuzzRun::written), std::fclose),
      errors_(transcriptStream(nullptr, nullptr), std::fclose),
      out_(transcript_.get()) {
  sim_.emplace(out_);
}

void FuzzRun::step(const sim::Command& command) {
  current_ = &command;
  if (!steer(command)) return;

  // Plain values only: a reference held across the command would change
  // what the command releases.
  std::optional<GroupPublishKeys> closingGroup;
  const bool hadService = static_cast<bool>(sim_->currentService());
  if (hadService && command.verb == "groupClosed" && command.args[1] == "true" && !hooksAct_) {
    const auto* group = sim_->currentService()->serviceMountGroupRaw(Vex::String(command.args[0]));
    if (group && !group->closed()) closingGroup = GroupPublishKeys::of(*group);
  }

  sim_->run({command}, errors_.get());
  hooksAct_ = hooksAct_ || command.verb == "when";

  const auto& service = sim_->currentService();
  if (hadService && !service) check(serviceObjectsAlive());
  if (!hadService) configurationEdited_ = false;
  if (service && editsConfiguration(command)) configurationEdited_ = true;
  if (service && !configurationEdited_) check(allowListFilterViolations(*service));
  if (closingGroup && service) {
    const auto* group = service->serviceMountGroupRaw(Vex::String(command.args[0]));
    if (group && group->closed()) check(groupCloseViolations(*closingGroup, GroupPublishKeys::of(*group)));
  }
  if (command.verb == "dump" && Controller::globalAgent) {
    check(dumpReadBackViolations(sim_->entityManager(), Controller::globalAgent->name()));
  }
}

void FuzzRun::finish() {
  current_ = nullptr;
  if (Controller::globalAgent) check(dumpReadBackViolations(sim_->entityManager(), Controller::globalAgent->name()));
  sim_.reset();
  check(objectsAlive());
}

bool FuzzRun::steer(const sim::Command& command) const {
  if (command.verb == "service") return serviceRecordsComplete();
  if (command.verb == "groupClosed" && command.args[1] == "true") {
    const auto& service = sim_->currentService();
    const auto* group = service ? service->serviceMountGroupRaw(Vex::String(command.args[0])) : nullptr;
    return !group || group->closed() || group->versionWhiteList();
  }
  return true;
}

bool FuzzRun::serviceRecordsComplete() const {
  if (!Controller::globalAgent) return false;
  const std::string agent = Controller::globalAgent->name().stdString();
  const Mirra::EntityManager& em = sim_->entityManager();
  return recordAt<Hubstore::Status>(em, "controller/status") &&
         recordAt<Controller::ServiceMountConfig>(em, "controller/mount/config/service/" + agent) &&
         recordAt<Controller::ServiceMountStatus>(em, "controller/mount/status/service/" + agent) &&
         recordAt<Controller::ServicePublishConfig>(em, "controller/publish/config/service/" + agent) &&
         recordAt<Controller::ServicePublishStatus>(em, "controller/publish/status/service/" + agent);
}

void FuzzRun::check(const std::vector<std::string>& violations) {
  if (!violations.empty()) violated(violations.front());
}

void FuzzRun::violated(const std::string& what) {
  const std::string where = current_ ? "after line " + std::to_string(current_->line) + " of" : "at the end of";
  std::fprintf(stderr, "invariant violated: %s\n%s the decoded scenario:\n%s", what.c_str(), where.c_str(),
               scenario_.c_str());
  std::fflush(stderr);
  std::abort();
}

ssize_t FuzzRun::written(void* cookie, const char* data, std::size_t size) {
  auto* run = static_cast<FuzzRun*>(cookie);
  run->partialLine_.append(data, size);
  std::size_t end = 0;
  while ((end = run->partialLine_.find('\n')) != std::string::npos) {
    const std::string line = run->partialLine_.substr(0, end);
    run->partialLine_.erase(0, end + 1);
    run->outputLine(line);
  }
  return static_cast<ssize_t>(size);
}

// "hook M doHandleControllerMountState SYSID G STATE", "hook M HOOK G".
void FuzzRun::outputLine(std::string_view line) {
  std::istringstream words{std::string(line)};
  std::string hook, mounter, name, group, afterSystem;
  if (!(words >> hook >> mounter >> name >> group) || hook != "hook") return;
  if (name == "doHandleControllerMountState" && words >> afterSystem) group = afterSystem;
  const auto& service = sim_->currentService();
  if (!service || !service->serviceMountGroupRaw(Vex::String(group))) {
    violated("'" + std::string(line) + "' names a group the service does not have");
  }
}

}  // namespace hubstore::fuzz
