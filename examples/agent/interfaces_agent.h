#pragma once
// InterfacesAgent: a small agent built on hubstore. It offers the service
// "interfaces": every switch running service version 3 mounts its interface
// status into the controller database, and the controller publishes the
// interface configuration to every switch. The agent keeps what the library
// tells it: the switches whose mounts are up, and whether its group is ready.
//
//   InterfacesAgent agent(entityManager);   // declares, closes the service, and
//                                           // hears the switches already up
//   ...the event loop runs; the library calls the agent back...
//   if (agent.ready()) ...
//
// The records it needs (the controller status and the service's four mount
// and publish records under the hosting agent's name) are the platform's; a
// test or a demo makes them with hubstore's test kit (FakeController).

#include <cstddef>
#include <set>
#include <string>

#include <hubstore/hubstore.h>

class InterfacesAgent {
 public:
  explicit InterfacesAgent(const Vex::Ptr<Mirra::EntityManager>& entityManager);
  ~InterfacesAgent();
  InterfacesAgent(const InterfacesAgent&) = delete;
  InterfacesAgent& operator=(const InterfacesAgent&) = delete;

  static constexpr const char* groupName = "interfaces";
  // Every controller mount is mounted and every publication published.
  bool ready() const { return ready_; }
  // The switches have finished their initial mounts of the group.
  bool initialMountsDone() const { return initialMountsDone_; }
  // The switches whose mount state for the group is `mounted`, by address.
  const std::set<std::string>& mountedSwitches() const { return mountedSwitches_; }

 private:
  class Mounter;

  Vex::Ptr<Mounter> mounter_;
  // Declared last, released first: no hook reaches a half-destroyed agent.
  Vex::Ptr<Controller::HubstoreService> service_;
  bool ready_ = false;
  bool initialMountsDone_ = false;
  std::set<std::string> mountedSwitches_;
};
