#pragma once
// hubstore: the agent's API in one include.
//
//   #include <hubstore/hubstore.h>
//
// HubstoreService and what its operations hand out (mount groups and their
// entries, switch and version allow-lists, the mounter base class, the
// records, SystemId and MountState), and the version macros. The test kit is
// apart: <hubstore/testing/fake_controller.h> and its neighbours.

#include <hubstore/version.h>
#include <hubstore/service/hubstore_service.h>
