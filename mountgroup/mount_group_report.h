#pragma once
/// \class Controller::MountGroupReport
/// Why a mount group is, or is not yet, complete, read off the records without
/// running anything.
///
/// HubstoreServiceMountGroup::completionReport() fills it from what the
/// group's completion check reads: the group's closed flag, its two group
/// configurations, the mount configuration's remote paths against the mount
/// status's mounted path prefixes, and the publish configuration's paths
/// against this group's publish group status. complete() applies the check's
/// own rule (mount_group_completion.h) to them, so it is true exactly when a
/// run of the check would report the group complete. Building a report
/// writes no record, traces nothing and calls no hook; it costs one walk of the
/// group's mounts and one of the service's switch statuses.
///
///     MountGroupReport report = group->completionReport();
///     if (!report.complete()) {
///       for (MountGroupReport::Wait wait : report.waitsFor()) ...;
///     }
///     std::cout << report.text();
///
/// Besides completion it tells the other things an agent asks about a group:
/// the version allow-list that closing requires, the mounter that hears of
/// completion, the initial switch mounts (doInitialSwitchMountsComplete), and
/// the group's switches counted by mount state, with those not mounted listed.
/// Lists are bounded: the first `listLimit` items in key order, and how many
/// there are in all.
///
/// ofRecords() reads the same from the five records alone, as a process that
/// holds no service (an inspector) sees them. Closing and the mounter are the
/// agent's and in no record: such a report judges the group as if closed, and
/// its text says that these two are unknown.

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <hubstore/foundations/records/mount_state.h>

namespace Controller {

class HubstoreServiceMountGroup;
class ServiceMountConfig;
class ServicePublishConfig;
class ServiceMountStatus;
class ServicePublishStatus;

struct MountGroupReport {
  /// How many items each list holds unless the caller says otherwise.
  static constexpr std::size_t defaultListLimit = 10;
  /// The mount states, unknown to failed, index the switch counts.
  static constexpr std::size_t mountStateCount = 5;

  /// The first items of a list, in key order, and how many it has in all.
  template <class T>
  struct Bounded {
    /// The items kept, at most the limit, and how many were added in all.
    ///@{
    std::vector<T> items;
    std::size_t total = 0;
    ///@}
    /// Counts `item` and keeps it while fewer than `limit` are kept.
    void add(T item, std::size_t limit) {
      if (items.size() < limit) items.push_back(std::move(item));
      ++total;
    }
  };

  /// One switch's mount state for the group.
  struct SwitchState {
    std::string system;  ///< the switch status's name
    /// Its state for the group.
    MountState state;
    /// Equal when both name and state are.
    friend bool operator==(const SwitchState&, const SwitchState&) = default;
  };

  /// What a group waits for, in the order waitsFor() gives them.
  enum class Wait {
    service,              ///< orphaned: its service is gone, it never completes
    groupConfig,          ///< it has neither group configuration
    close,                ///< the agent has not closed it
    versionWhiteList,     ///< not closed, and closing requires a version allow-list
    mountStatus,          ///< it has controller mounts but watches no mount status
    pathPrefix,           ///< controller mounts without a mounted path prefix
    publishStatus,        ///< it publishes but watches no publish status
    publishGroupStatus,   ///< the publish status has no status for this group
    publishedPaths,       ///< publish mounts without a publish status
    initialSwitchMounts,  ///< initialMountsComplete[group] is not true
  };
  /// A short phrase: "closing", "mounted path prefixes", ...
  static const char* waitText(Wait wait);

  /// Reads `group` and its service's records; see the top of this file.
  static MountGroupReport of(const HubstoreServiceMountGroup& group, std::size_t listLimit = defaultListLimit);
  /// The same without the switches (switchesByState and switchesNotMounted
  /// stay empty): for those who count a fleet's switches for every group in
  /// one walk of its switch statuses, not one walk per group.
  static MountGroupReport withoutSwitches(const HubstoreServiceMountGroup& group);

  /// A service's records, any of them null when absent.
  struct Records {
    const ServiceMountConfig* mountConfig = nullptr;      ///< the mount configuration
    const ServicePublishConfig* publishConfig = nullptr;  ///< the publish configuration
    const ServiceMountStatus* mountStatus = nullptr;      ///< the mount status
    const ServicePublishStatus* publishStatus = nullptr;  ///< the publish status
  };
  /// The report of group `groupName` read from `records` alone: closed is
  /// taken as true and agentKnown is false (see the top of this file).
  static MountGroupReport ofRecords(const Records& records, const std::string& groupName,
                                    std::size_t listLimit = defaultListLimit);

  /// The group's name.
  std::string groupName;
  /// Closed and hasMounter are the agent's own; false for a report read from
  /// the records alone, where closed is assumed and both print as unknown.
  bool agentKnown = true;
  /// Its service is gone (service() is null): the group is an inert shell.
  bool orphaned = false;
  /// The service holds this group under its name. A group deleted by name but
  /// alive in a handle may still be complete, but reports to nobody.
  bool heldByService = true;
  /// Whether the agent has closed the group.
  bool closed = false;
  std::optional<std::string> versionWhiteList;  ///< the bound list's name
  /// Whether the group has its mount and its publish group configuration.
  ///@{
  bool hasMountGroupConfig = false;
  bool hasPublishGroupConfig = false;
  ///@}
  /// The mount group configuration's remote paths.
  std::size_t controllerMounts = 0;
  /// Whether the group watches a mount status.
  bool mountStatusWatched = false;
  /// Every remote path, when no mount status is watched.
  Bounded<std::string> withoutPathPrefix;
  /// The publish group configuration's paths.
  std::size_t publishMounts = 0;
  /// Whether the group watches a publish status, and whether that holds a
  /// status for this group.
  ///@{
  bool publishStatusWatched = false;
  bool hasPublishGroupStatus = false;
  ///@}
  /// Every path, when there is no publish group status.
  Bounded<std::string> withoutPublishStatus;
  /// Whether the group has a mounter, which hears of completion.
  bool hasMounter = false;
  /// Whether the service mount status says the group's initial switch mounts are
  /// complete.
  bool initialMountsComplete = false;
  /// Switches with a status for this group, by mount state.
  std::array<std::size_t, mountStateCount> switchesByState{};
  /// The switches whose state for the group is not mounted, with their states.
  Bounded<SwitchState> switchesNotMounted;

  /// The completion check would report the group complete.
  bool complete() const;
  /// Complete, and the mounter hears of it (doMountsComplete).
  bool toldToMounter() const { return complete() && hasMounter && heldByService; }
  /// Everything still awaited: what keeps the check from reporting, then the
  /// initial switch mounts. An orphan waits for its service alone.
  std::vector<Wait> waitsFor() const;
  /// The switches with a status for the group, in every state.
  std::size_t switches() const;

  /// "group G: complete", "group G: not complete; waits for closing, ...";
  /// from the records alone, "group G: complete if closed".
  std::string summary() const;
  /// The summary, then one line per fact, each ended by a newline:
  ///
  ///     closed: BOOL
  ///     version allow-list: NAME | none
  ///     controller mounts: N, without a mounted path prefix: K[ (no mount status)][: PATH, ...[ and M more]]
  ///     publish mounts: N, without a publish status: K[: PATH, ...]
  ///     publish group status: present | absent | no publish status
  ///     mounter: set | none
  ///     initial switch mounts: complete | not complete
  ///     switches: N: unknown N, mounting N, mounted N, unmounted N, failed N
  ///     switches not mounted: K[: SYS STATE, ...[ and M more]]
  ///
  /// A side without its group configuration reads "controller mounts: no
  /// mount group configuration" (or the publish one). A value that is empty
  /// or holds a blank, a comma, a semicolon, a quote or a backslash is quoted.
  std::string text() const;

 private:
  // Everything but the switches.
  static MountGroupReport read(const HubstoreServiceMountGroup& group, std::size_t listLimit);
};

/// A name or path as the report's text writes it.
std::string reportQuoted(const std::string& text);

}  // namespace Controller
