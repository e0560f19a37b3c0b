#pragma once
/// \file
/// The two kinds of allow-list, side by side. WhiteListCore (the set and its
/// two filters) and ServiceWhiteList (the binding to a service's
/// configurations) are written once; everything in which a switch list and a
/// version list differ is a line of one of these structs, so that the
/// differences can be read here at a glance:
///
///     what differs                 switch list                 version list
///     key                          SystemId                    std::uint32_t
///     key in the filters           its text form               the number itself
///     entry handler's class label  "SwitchWhiteList::"         "VersionWhiteListBase::"
///     list label in that trace     " whiteList: "              " whitelist: "
///     filter left first on cleanup publish configuration       mount configuration
///
/// The entry handler traces under the name of the class the agent creates for
/// a switch list but under the base's own name for a version list, and the
/// version list leaves the mount configuration first. Both are long-standing
/// behaviour that readers of the traces and of the configurations rely on.

#include <cstdint>

#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/system_id.h>

namespace Controller {

/// Which of the service's two configurations loses the list's filter first.
enum class FilterCleanupOrder { publishFirst, mountFirst };

/// What a switch allow-list keys on and how it is named: the Kind of
/// SwitchWhiteListBase.
struct SwitchWhiteListKind {
  /// The entry key and the filter record type.
  ///@{
  using Key = SystemId;
  using Filter = MountFilterSystem;
  ///@}
  /// A switch is held in the filters by its text form.
  static Vex::String filterKey(const SystemId& switchId) { return switchId.stringValue(); }
  /// The filter's calls that add and remove one key.
  ///@{
  static constexpr auto filterEntryIs = &MountFilterSystem::includedSystemIs;
  static constexpr auto filterEntryDel = &MountFilterSystem::includedSystemDel;
  ///@}
  /// Creates (or finds) the list's filter of that name in a configuration
  /// record, or drops it; `Config` is ServiceMountConfig or ServicePublishConfig.
  ///@{
  template <class Config>
  static Vex::Ptr<Filter> configFilterIs(Config& config, const Vex::Name& name) {
    return config.systemFilterIs(name);
  }
  template <class Config>
  static void configFilterDel(Config& config, const Vex::Name& name) {
    config.systemFilterDel(name);
  }
  ///@}
  /// The service's list of that name (null when none), found by the list type.
  template <class Service>
  static auto serviceList(const Service& service, const Vex::String& name) {
    return service.switchWhiteList(name);
  }
  /// The filter left first when the list is taken off the service.
  static constexpr FilterCleanupOrder cleanupOrder = FilterCleanupOrder::publishFirst;

  /// Labels of the entry handler's trace and of the service's own traces.
  ///@{
  static constexpr const char* entryTraceClass = "SwitchWhiteList::";
  static constexpr const char* entryHandler = "handleAllowedSwitch";
  static constexpr const char* entryTraceList = " whiteList: ";
  static constexpr const char* entryTraceKey = " switchId: ";
  static constexpr const char* serviceTraceClass = "SwitchWhiteList::";
  ///@}

  /// Type names and attribute names under which the list's record is described.
  ///@{
  static constexpr const char* baseTypeName = "Controller::SwitchWhiteListBase";
  static constexpr const char* typeName = "Controller::SwitchWhiteList";
  static constexpr const char* mountFilterAttribute = "mountSystemFilter";
  static constexpr const char* publishFilterAttribute = "publishSystemFilter";
  static constexpr const char* entriesAttribute = "allowedSwitch";
  ///@}
};

/// What a version allow-list keys on and how it is named: the Kind of
/// VersionWhiteListBase.
struct VersionWhiteListKind {
  /// The entry key (a service version number) and the filter record type.
  ///@{
  using Key = std::uint32_t;
  using Filter = MountFilterServiceVersion;
  ///@}
  /// A version is held in the filters as the number itself.
  static std::uint32_t filterKey(std::uint32_t version) { return version; }
  /// The filter's calls that add and remove one key.
  ///@{
  static constexpr auto filterEntryIs = &MountFilterServiceVersion::includedServiceVersionIs;
  static constexpr auto filterEntryDel = &MountFilterServiceVersion::includedServiceVersionDel;
  ///@}
  /// Creates (or finds) the list's filter of that name in a configuration
  /// record, or drops it; `Config` is ServiceMountConfig or ServicePublishConfig.
  ///@{
  template <class Config>
  static Vex::Ptr<Filter> configFilterIs(Config& config, const Vex::Name& name) {
    return config.versionFilterIs(name);
  }
  template <class Config>
  static void configFilterDel(Config& config, const Vex::Name& name) {
    config.versionFilterDel(name);
  }
  ///@}
  /// The service's list of that name (null when none), found by the list type.
  template <class Service>
  static auto serviceList(const Service& service, const Vex::String& name) {
    return service.versionWhiteList(name);
  }
  /// The filter left first when the list is taken off the service.
  static constexpr FilterCleanupOrder cleanupOrder = FilterCleanupOrder::mountFirst;

  /// Labels of the entry handler's trace and of the service's own traces.
  ///@{
  static constexpr const char* entryTraceClass = "VersionWhiteListBase::";
  static constexpr const char* entryHandler = "handleAllowedVersion";
  static constexpr const char* entryTraceList = " whitelist: ";
  static constexpr const char* entryTraceKey = " version: ";
  static constexpr const char* serviceTraceClass = "VersionWhiteList::";
  ///@}

  /// Type names and attribute names under which the list's record is described.
  ///@{
  static constexpr const char* baseTypeName = "Controller::VersionWhiteListBase";
  static constexpr const char* typeName = "Controller::VersionWhiteList";
  static constexpr const char* mountFilterAttribute = "mountVersionFilter";
  static constexpr const char* publishFilterAttribute = "publishVersionFilter";
  static constexpr const char* entriesAttribute = "allowedVersion";
  ///@}
};

}  // namespace Controller
