#include "fleet.h"

#include <cstdio>

namespace bench {

std::string Fleet::switchName(int index) {
  char name[32];
  std::snprintf(name, sizeof name, "00:1c:73:%02x:%02x:%02x", (index >> 16) & 0xff, (index >> 8) & 0xff, index & 0xff);
  return name;
}

std::string Fleet::groupName(int index) {
  char name[16];
  std::snprintf(name, sizeof name, "g%02d", index);
  return name;
}

std::string Fleet::switchKey(int index) const { return agent + ":mountStatus.systemStatus[" + switchName(index) + "]"; }

std::string Fleet::groupField(int index) {
  char field[16];
  std::snprintf(field, sizeof field, "[g%02d]", index);
  return field;
}

}  // namespace bench
