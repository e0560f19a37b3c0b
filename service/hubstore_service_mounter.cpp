#include <hubstore/service/hubstore_service_mounter.h>

#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/ferrolink.h>

namespace Controller {

namespace {
using EntityManagerPtr = Vex::Ptr<Mirra::EntityManager>;

HubstoreServiceMounter& mounterOf(Vex::PtrInterface& target) { return dynamic_cast<HubstoreServiceMounter&>(target); }
}  // namespace

const Vex::TypeDescriptor& HubstoreServiceMounter::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::HubstoreServiceMounter",
      {{"doMountsComplete", Vex::AttributeKind::operation, 0, {"groupName", "em"},
        [](Vex::PtrInterface& target, const Vex::Arguments& args) {
          mounterOf(target).doMountsComplete(Vex::argument<Vex::String>(args, "doMountsComplete", "groupName"),
                                             Vex::argument<EntityManagerPtr>(args, "doMountsComplete", "em"));
        }},
       {"doHandleControllerMountState", Vex::AttributeKind::operation, 0, {"systemId", "groupName", "mountState", "em"},
        [](Vex::PtrInterface& target, const Vex::Arguments& args) {
          const char* op = "doHandleControllerMountState";
          mounterOf(target).doHandleControllerMountState(
              Vex::argument<SystemId>(args, op, "systemId"), Vex::argument<Vex::String>(args, op, "groupName"),
              Vex::argument<MountState>(args, op, "mountState"), Vex::argument<EntityManagerPtr>(args, op, "em"));
        }},
       {"doInitialSwitchMountsComplete", Vex::AttributeKind::operation, 0, {"groupName", "em"},
        [](Vex::PtrInterface& target, const Vex::Arguments& args) {
          const char* op = "doInitialSwitchMountsComplete";
          mounterOf(target).doInitialSwitchMountsComplete(Vex::argument<Vex::String>(args, op, "groupName"),
                                                          Vex::argument<EntityManagerPtr>(args, op, "em"));
        }}});
  return type;
}

void HubstoreServiceMounter::doMountsComplete(Vex::String, const EntityManagerPtr&) {
  throw Vex::InternalException(
      "HubstoreServiceMounter::doMountsRegisterationComplete, you must implement this function in the derived class");
}

void HubstoreServiceMounter::doHandleControllerMountState(const SystemId& systemId, Vex::String groupName,
                                                          MountState mountState, const EntityManagerPtr&) {
  HUBSTORE_TRACE(8) << "HubstoreServiceMounter::" << "doHandleControllerMountState" << " systemId: "
                    << systemId.stringValue() << " groupName: " << groupName << " mountState: " << mountState;
}

void HubstoreServiceMounter::doInitialSwitchMountsComplete(Vex::String groupName, const EntityManagerPtr&) {
  HUBSTORE_TRACE(8) << "HubstoreServiceMounter::" << "doInitialSwitchMountsComplete" << " groupName: " << groupName;
}

}  // namespace Controller
