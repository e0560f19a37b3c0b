#pragma once
/// \file
/// hubstore: the agent's API in one include.
///
///     #include <hubstore/hubstore.h>
///
/// HubstoreService and what its operations hand out (mount groups and their
/// entries, switch and version allow-lists, the mounter base class, the
/// records, SystemId and MountState), and the version macros of
/// `<hubstore/version.h>` (HUBSTORE_VERSION_MAJOR, _MINOR, _PATCH, _STRING,
/// HUBSTORE_VERSION and HUBSTORE_VERSION_AT_LEAST(major, minor, patch)), which
/// the build generates. The test kit is apart:
/// `<hubstore/testing/fake_controller.h>` and its neighbours.

/// \namespace Controller
/// The library's API: the service, its mount groups, allow-lists, status
/// machines and records, the hooks the agent implements.

/// \namespace Controller::testing
/// The kit for testing an agent (the hubstore::testing library): a fake
/// controller, a recording mounter, trace capture, a GoogleTest fixture.

/// \namespace Vex
/// The entity/reactor framework the library is written in: counted objects,
/// strings, records and their collections, notifiees, tracing, exceptions and
/// run-time type descriptions.

/// \namespace Mirra
/// The hosting agent and its state database, as far as the library uses them.

/// \namespace Lanx
/// Network value types: the Ethernet address inside Controller::SystemId.

/// \namespace Hubstore
/// The controller database's own records.

/// \namespace hubstore
/// Additions to the library that live in libraries of their own.

/// \namespace hubstore::redis
/// The hubstore::redis library: one agent's records kept in a Redis database,
/// so that the agent and the mount machinery can be separate processes.

#include <hubstore/version.h>
#include <hubstore/service/hubstore_service.h>
