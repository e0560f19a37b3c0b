#pragma once
// Controller::GroupConfigRecord: what a mount group's two configuration
// records (ServiceMountGroupConfig, ServicePublishGroupConfig) share: the
// group's name and the pair of filters its allow-lists hand it, by
// reference. A null filter clears it.
//
// The pair follows the record's own collections, so its attribute ids come
// after theirs: name, two attributes of the record's own, then the filters.

#include <vector>

#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/record.h>

namespace Controller {

class GroupConfigRecord : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId name = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId systemFilter = Vex::firstRecordAttribute + 3;
    static constexpr Vex::AttributeId versionFilter = Vex::firstRecordAttribute + 4;
  };

  const Vex::Ptr<MountFilterSystem>& systemFilter() const { return systemFilter_; }
  void systemFilterIs(const Vex::Ptr<MountFilterSystem>& filter);
  const Vex::Ptr<MountFilterServiceVersion>& versionFilter() const { return versionFilter_; }
  void versionFilterIs(const Vex::Ptr<MountFilterServiceVersion>& filter);

 protected:
  explicit GroupConfigRecord(const Vex::Name& name) : Vex::Entity(name) {}
  ~GroupConfigRecord() override = default;
  // A derived record's attributes: the name, its own two, the filter pair.
  static std::vector<Vex::AttributeDescriptor> attributes(Vex::AttributeDescriptor first,
                                                          Vex::AttributeDescriptor second);

 private:
  Vex::Ptr<MountFilterSystem> systemFilter_;
  Vex::Ptr<MountFilterServiceVersion> versionFilter_;
};

}  // namespace Controller
