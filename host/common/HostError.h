// The one exception type of the host library and the CLI: its message is a
// complete sentence fragment that the CLI prints after "veltrax: error: ".
#pragma once

#include <stdexcept>
#include <string>

namespace veltrax::host {

class HostError : public std::runtime_error {
 public:
  explicit HostError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace veltrax::host
