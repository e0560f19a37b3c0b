#pragma once
// A command that cannot run: it names an object that does not exist, or the
// world is not in the state it needs. The simulator reports it as
// "FILE:LINE: error: MESSAGE" and ends the run with status 1. Exceptions of
// the library are not of this kind: they are printed and the run goes on.

#include <stdexcept>
#include <string>

namespace hubstore::sim {

class ScenarioError : public std::runtime_error {
 public:
  explicit ScenarioError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace hubstore::sim
