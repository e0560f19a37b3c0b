#pragma once
/// \enum Controller::MountState
/// One switch's mount state for one group, as the mount machinery reports it.
/// The library passes it on and prints it; it never compares states.

#include <optional>
#include <ostream>
#include <string_view>

#include <hubstore/foundations/framework/trace.h>

namespace Controller {

enum MountState {
  mountStateUnknown,  ///< The machinery has said nothing yet.
  mountStateMounting,
  mountStateMounted,
  mountStateUnmounted,
  mountStateFailed,  ///< Mounting failed.
};

/// "unknown", "mounting", "mounted", "unmounted", "failed".
const char* mountStateName(MountState state);
/// The state a name of mountStateName() stands for; nullopt for any other
/// text.
std::optional<MountState> mountStateFromName(std::string_view name);

/// Writes the state's name.
///@{
inline std::ostream& operator<<(std::ostream& out, MountState state) { return out << mountStateName(state); }
inline Vex::TraceStream& operator<<(Vex::TraceStream& out, MountState state) { return out << mountStateName(state); }
///@}

}  // namespace Controller
