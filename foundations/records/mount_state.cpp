#include <hubstore/foundations/records/mount_state.h>

#include <array>

namespace Controller {

namespace {
constexpr std::array<const char*, 5> names = {"unknown", "mounting", "mounted", "unmounted", "failed"};
}

const char* mountStateName(MountState state) {
  auto index = static_cast<std::size_t>(state);
  return index < names.size() ? names[index] : "invalid";
}

std::optional<MountState> mountStateFromName(std::string_view name) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (name == names[i]) return static_cast<MountState>(i);
  }
  return std::nullopt;
}

}  // namespace Controller
