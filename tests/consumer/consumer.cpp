// Built inside a consumer's tree: the umbrella header, the version macros and
// the kit are reachable under <hubstore/...>.
#include <cstdio>

#include <hubstore/hubstore.h>
#include <hubstore/testing/fake_controller.h>

static_assert(HUBSTORE_VERSION_AT_LEAST(0, 1, 0));

int main() {
  Controller::testing::FakeController controller("agentB");
  auto service = controller.serviceIs("svcA");
  std::printf("hubstore %s: service %s\n", HUBSTORE_VERSION_STRING, service->serviceName().c_str());
  return 0;
}
