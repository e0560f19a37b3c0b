#pragma once
// bench::CountingMounter: an agent's hooks that only count, and remember the
// last mount state reported, so that half a million reports cost the
// measurement nothing but a counter.

#include <hubstore/service/hubstore_service_mounter.h>

namespace bench {

class CountingMounter : public Controller::HubstoreServiceMounter {
 public:
  void doMountsComplete(Vex::String, const Vex::Ptr<Mirra::EntityManager>&) override { ++completions; }
  void doHandleControllerMountState(const Controller::SystemId& systemId, Vex::String groupName,
                                    Controller::MountState mountState, const Vex::Ptr<Mirra::EntityManager>&) override {
    ++mountStates;
    lastSystem = systemId;
    lastGroup = groupName;
    lastState = mountState;
  }
  void doInitialSwitchMountsComplete(Vex::String, const Vex::Ptr<Mirra::EntityManager>&) override { ++completions; }

  long long mountStates = 0;
  long long completions = 0;
  Controller::SystemId lastSystem;
  Vex::String lastGroup;
  Controller::MountState lastState = Controller::mountStateUnknown;
};

}  // namespace bench
