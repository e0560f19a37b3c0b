#pragma once
/// \class Controller::GroupConfigRecord
/// What a mount group's two configuration records (ServiceMountGroupConfig,
/// ServicePublishGroupConfig) share: the group's name and the pair of filters
/// its allow-lists hand it, by reference. A null filter clears it.
///
/// The pair follows the record's own collections, so its attribute ids come
/// after theirs: name, two attributes of the record's own, then the filters.

#include <vector>

#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/record.h>

namespace Controller {

class GroupConfigRecord : public Vex::Entity {
 public:
  /// The attribute ids the two group configurations share.
  struct Attr {
    /// The group's name.
    static constexpr Vex::AttributeId name = Vex::firstRecordAttribute;
    /// The switch filter.
    static constexpr Vex::AttributeId systemFilter = Vex::firstRecordAttribute + 3;
    /// The version filter.
    static constexpr Vex::AttributeId versionFilter = Vex::firstRecordAttribute + 4;
  };

  /// The switch filter the group's switch allow-list hands it, or null; held
  /// by counted reference.
  const Vex::Ptr<MountFilterSystem>& systemFilter() const { return systemFilter_; }
  /// Points at `filter` (null clears it); watchers are told only of a change.
  void systemFilterIs(const Vex::Ptr<MountFilterSystem>& filter);
  /// The version filter the group's version allow-list hands it, or null; held
  /// by counted reference.
  const Vex::Ptr<MountFilterServiceVersion>& versionFilter() const { return versionFilter_; }
  /// Points at `filter` (null clears it); watchers are told only of a change.
  void versionFilterIs(const Vex::Ptr<MountFilterServiceVersion>& filter);

 protected:
  /// Made by the derived record, named after its group, with no filter.
  explicit GroupConfigRecord(const Vex::Name& name) : Vex::Entity(name) {}
  ~GroupConfigRecord() override = default;
  /// A derived record's attributes: the name, its own two, the filter pair.
  static std::vector<Vex::AttributeDescriptor> attributes(Vex::AttributeDescriptor first,
                                                          Vex::AttributeDescriptor second);

 private:
  Vex::Ptr<MountFilterSystem> systemFilter_;
  Vex::Ptr<MountFilterServiceVersion> versionFilter_;
};

}  // namespace Controller
