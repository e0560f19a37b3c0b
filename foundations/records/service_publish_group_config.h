#pragma once
// Controller::ServicePublishGroupConfig: one mount group's part of the service
// publish configuration: the controller database paths published to the
// switches, the directories published per switch, and the group's filters
// (the pair is GroupConfigRecord's).

#include <hubstore/foundations/records/group_config_record.h>
#include <hubstore/foundations/records/publish_dir.h>

namespace Controller {

// One published controller database path.
struct PublishConfig {
  Vex::String remotePath;
  Vex::String vexcType;
  friend bool operator==(const PublishConfig&, const PublishConfig&) = default;
};

class ServicePublishGroupConfig : public GroupConfigRecord {
 public:
  struct Attr : GroupConfigRecord::Attr {
    static constexpr Vex::AttributeId publishConfig = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId publishDir = Vex::firstRecordAttribute + 2;
  };
  static Vex::Ptr<ServicePublishGroupConfig> ServicePublishGroupConfigIs(const Vex::Name& name) {
    return Vex::make<ServicePublishGroupConfig>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const PublishConfig* publishConfig(const Vex::Name& hubstorePath) const {
    return publishConfig_.value(hubstorePath);
  }
  const Vex::ValueMap<Vex::Name, PublishConfig>& publishConfigMembers() const { return publishConfig_; }
  void publishConfigIs(const Vex::Name& hubstorePath, const Vex::String& remotePath, const Vex::String& vexcType);
  void publishConfigDel(Vex::Name hubstorePath);

  Vex::Ptr<PublishDir> publishDir(const Vex::Name& name) const { return publishDir_.member(name); }
  const Vex::Collection<Vex::Name, PublishDir>& publishDirMembers() const { return publishDir_; }
  // Creates the directory, or returns the existing one with its type set to
  // `vexcType`.
  Vex::Ptr<PublishDir> publishDirIs(const Vex::Name& name, const Vex::String& vexcType);
  void publishDirDel(Vex::Name name);

 protected:
  explicit ServicePublishGroupConfig(const Vex::Name& name) : GroupConfigRecord(name), publishDir_(this, "publishDir") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::ValueMap<Vex::Name, PublishConfig> publishConfig_;
  Vex::Collection<Vex::Name, PublishDir> publishDir_;
};

}  // namespace Controller
