#pragma once
/// \class Controller::ServicePublishGroupConfig
/// One mount group's part of the service publish configuration: the controller
/// database paths published to the switches, the directories published per
/// switch, and the group's filters (the pair is GroupConfigRecord's).

#include <hubstore/foundations/records/group_config_record.h>
#include <hubstore/foundations/records/publish_dir.h>

namespace Controller {

/// One published controller database path.
struct PublishConfig {
  /// The path it lands at on each switch.
  Vex::String remotePath;
  /// The publish type the switches are given, as declared.
  Vex::String vexcType;
  /// Equal when every field is.
  friend bool operator==(const PublishConfig&, const PublishConfig&) = default;
};

class ServicePublishGroupConfig : public GroupConfigRecord {
 public:
  /// The base record's attribute ids, and the group's own.
  struct Attr : GroupConfigRecord::Attr {
    /// The published paths.
    static constexpr Vex::AttributeId publishConfig = Vex::firstRecordAttribute + 1;
    /// The per-switch publish directories.
    static constexpr Vex::AttributeId publishDir = Vex::firstRecordAttribute + 2;
  };
  /// A new, empty configuration for the group named `name`.
  static Vex::Ptr<ServicePublishGroupConfig> ServicePublishGroupConfigIs(const Vex::Name& name) {
    return Vex::make<ServicePublishGroupConfig>(name);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// How `hubstorePath` is published, or null when it is not.
  const PublishConfig* publishConfig(const Vex::Name& hubstorePath) const {
    return publishConfig_.value(hubstorePath);
  }
  /// Every published path.
  const Vex::ValueMap<Vex::Name, PublishConfig>& publishConfigMembers() const { return publishConfig_; }
  /// Publishes `hubstorePath` as given; watchers are told only of a change.
  void publishConfigIs(const Vex::Name& hubstorePath, const Vex::String& remotePath, const Vex::String& vexcType);
  /// Stops publishing `hubstorePath`, if published.
  void publishConfigDel(Vex::Name hubstorePath);

  /// The per-switch directory named `name` (its controller database path), or
  /// null.
  Vex::Ptr<PublishDir> publishDir(const Vex::Name& name) const { return publishDir_.member(name); }
  /// Every per-switch directory, by name.
  const Vex::Collection<Vex::Name, PublishDir>& publishDirMembers() const { return publishDir_; }
  /// Creates the directory, or returns the existing one with its type set to
  /// `vexcType`.
  Vex::Ptr<PublishDir> publishDirIs(const Vex::Name& name, const Vex::String& vexcType);
  /// Removes the directory named `name`, if any.
  void publishDirDel(Vex::Name name);

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit ServicePublishGroupConfig(const Vex::Name& name) : GroupConfigRecord(name), publishDir_(this, "publishDir") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::ValueMap<Vex::Name, PublishConfig> publishConfig_;
  Vex::Collection<Vex::Name, PublishDir> publishDir_;
};

}  // namespace Controller
