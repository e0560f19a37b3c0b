#pragma once
// The completion rule of a mount group, stated once. The group's check
// (doCheckMountAndPublishStatus and its two halves, which trace each refusal)
// walks it over the live records; MountGroupReport::complete() walks it over
// what the report read. So the report says "complete" exactly when a run of
// the check would report the group.
//
// A group is complete when it has at least one group configuration and each
// side it has is complete, the mount side judged first:
//  - mount side: the group is closed, and every remote path of its mount
//    group configuration has a mounted path prefix;
//  - publish side: the group is closed, the service publish status is
//    watched, it holds this group's status, and that status holds every path
//    of the publish group configuration.
// Each walk stops at the first gap, and asks for each fact only when it gets
// there, so the check reads no more than it needs.
//
// A Facts type answers, for the whole group, hasMountGroupConfig(),
// hasPublishGroupConfig(), mountSideComplete() and publishSideComplete(); for
// the sides closed(), pathPrefixMissing(), publishStatusWatched(),
// hasPublishGroupStatus() and publishedPathMissing(). Past the closed test a
// side requires its group configuration (requireMountGroupConfig(),
// requirePublishGroupConfig()): the check asserts it, the report has it.

namespace Controller::completion {

enum class Gap { none, groupConfig, mountSide, publishSide };
enum class SideGap { none, notClosed, pathPrefix, publishStatus, publishGroupStatus, publishedPath };

template <class Facts>
SideGap mountSideGap(Facts& facts) {
  if (!facts.closed()) return SideGap::notClosed;
  facts.requireMountGroupConfig();
  if (facts.pathPrefixMissing()) return SideGap::pathPrefix;
  return SideGap::none;
}

template <class Facts>
SideGap publishSideGap(Facts& facts) {
  if (!facts.closed()) return SideGap::notClosed;
  facts.requirePublishGroupConfig();
  if (!facts.publishStatusWatched()) return SideGap::publishStatus;
  if (!facts.hasPublishGroupStatus()) return SideGap::publishGroupStatus;
  if (facts.publishedPathMissing()) return SideGap::publishedPath;
  return SideGap::none;
}

template <class Facts>
Gap groupGap(Facts& facts) {
  if (!facts.hasMountGroupConfig() && !facts.hasPublishGroupConfig()) return Gap::groupConfig;
  if (facts.hasMountGroupConfig() && !facts.mountSideComplete()) return Gap::mountSide;
  if (facts.hasPublishGroupConfig() && !facts.publishSideComplete()) return Gap::publishSide;
  return Gap::none;
}

}  // namespace Controller::completion
