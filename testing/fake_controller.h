#pragma once
/// \class Controller::testing::FakeController
/// The controller side of an agent's
/// test. It holds an in-memory state database with the five records an agent
/// named `agentName` needs, sets the hosting agent (globalAgent), and writes
/// status records the way the mount machinery does, with the verbs of
/// hubstore-sim's scenarios:
///
///     FakeController controller("agentB");
///     auto service = controller.serviceIs("svcA");     // your agent's start-up
///     ...declare groups...
///     controller.systemStatus("00:1c:73:00:00:01", {{"g1", mountStateMounted}});
///     controller.mountState("00:1c:73:00:00:01", "g1", mountStateFailed);
///     controller.mountedPathPrefix("/remote/a", "/db/a");
///     controller.publishGroupStatus("g1");
///     controller.publishStatus("g1", "/db/p");
///     controller.initialMountsComplete("g1", true);
///
/// Writes go through the records' own setters: writing what a record already
/// holds notifies no one. A write that names a switch or group status that does
/// not exist raises std::invalid_argument and changes nothing. The controller
/// must outlive every service created over it; its destructor unsets
/// globalAgent if it still points at this controller's agent.

#include <initializer_list>
#include <string>
#include <utility>

#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/service/hubstore_service.h>

namespace Controller::testing {

class FakeController {
 public:
  /// A switch's group statuses as systemStatus() takes them: group name and
  /// mount state.
  using GroupStates = std::initializer_list<std::pair<const char*, MountState>>;

  /// The five records of agent `agentName` at their paths, the controller's
  /// status holding `leaderGenId`; sets globalAgent to this controller's agent.
  explicit FakeController(const std::string& agentName = "agent", const std::string& leaderGenId = "gen-1");
  /// Unsets globalAgent if it still points at this controller's agent.
  ~FakeController();
  /// Not copyable: globalAgent points at the one agent.
  ///@{
  FakeController(const FakeController&) = delete;
  FakeController& operator=(const FakeController&) = delete;
  ///@}

  /// What an agent hands the library: HubstoreServiceIs(name, em, em).
  const Vex::Ptr<Mirra::EntityManager>& entityManager() const { return em_; }
  /// Starts the service `serviceName` over this controller's records, as the
  /// agent would: HubstoreServiceIs(serviceName, entityManager(), entityManager()).
  Vex::Ptr<HubstoreService> serviceIs(const std::string& serviceName) const;
  /// The hosting agent, which globalAgent points at.
  const Vex::Ptr<Mirra::Agent>& agent() const { return agent_; }

  /// The five records, for reading what the library wrote (and for writes the
  /// verbs below do not cover).
  ///@{
  const Vex::Ptr<Hubstore::Status>& hubstoreStatus() const { return hubstoreStatus_; }
  const Vex::Ptr<ServiceMountConfig>& mountConfig() const { return mountConfig_; }
  const Vex::Ptr<ServiceMountStatus>& mountStatus() const { return mountStatus_; }
  const Vex::Ptr<ServicePublishConfig>& publishConfig() const { return publishConfig_; }
  const Vex::Ptr<ServicePublishStatus>& publishStatus() const { return publishStatus_; }
  ///@}
  /// The path of each record in the state database, e.g.
  /// "controller/mount/config/service/AGENT".
  ///@{
  static std::string mountConfigPath(const std::string& agentName);
  static std::string mountStatusPath(const std::string& agentName);
  static std::string publishConfigPath(const std::string& agentName);
  static std::string publishStatusPath(const std::string& agentName);
  ///@}

  /// The mount machinery's writes to the mount status. systemStatus() brings a
  /// switch up holding a status per group; the other verbs on a switch or a
  /// group status raise std::invalid_argument when it does not exist (except
  /// serviceMountGroupStatus(), which adds one to an existing switch).
  ///@{
  void systemStatus(const std::string& system, GroupStates groups = {});
  void systemStatusDel(const std::string& system);
  void serviceMountGroupStatus(const std::string& system, const std::string& group,
                               MountState state = mountStateUnknown);
  void serviceMountGroupStatusDel(const std::string& system, const std::string& group);
  void mountState(const std::string& system, const std::string& group, MountState state);
  void initialMountsComplete(const std::string& group, bool complete);
  void initialMountsCompleteDel(const std::string& group);
  void mountedPathPrefix(const std::string& remotePath, const std::string& prefix);
  void mountedPathPrefixDel(const std::string& remotePath);
  ///@}
  /// The mount machinery's writes to the publish status: a group status, and a
  /// published path under an existing one (std::invalid_argument otherwise).
  ///@{
  void publishGroupStatus(const std::string& group);
  void publishGroupStatusDel(const std::string& group);
  void publishStatus(const std::string& group, const std::string& hubstorePath);
  void publishStatusDel(const std::string& group, const std::string& hubstorePath);
  ///@}
  /// Writes the controller's leader generation id into its status record.
  void leaderGenId(const std::string& id);
  /// Takes a record out of the state database (e.g. "controller/status");
  /// raises std::invalid_argument when there is none at `path`.
  void recordDel(const std::string& path);

 private:
  Vex::Ptr<SystemStatus> existingSystem(const std::string& system) const;
  Vex::Ptr<ServicePublishGroupStatus> existingPublishGroup(const std::string& group) const;

  Vex::Ptr<Mirra::Agent> agent_;
  Vex::Ptr<Mirra::EntityManager> em_;
  Vex::Ptr<Hubstore::Status> hubstoreStatus_;
  Vex::Ptr<ServiceMountConfig> mountConfig_;
  Vex::Ptr<ServiceMountStatus> mountStatus_;
  Vex::Ptr<ServicePublishConfig> publishConfig_;
  Vex::Ptr<ServicePublishStatus> publishStatus_;
};

}  // namespace Controller::testing
