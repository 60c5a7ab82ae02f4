// Telling why a call of the library failed.
#ifndef LUTC_CLI_CONSOLE_SERVICE_H
#define LUTC_CLI_CONSOLE_SERVICE_H

#include <string>

namespace lutc_cli {

// Passes on a result of 0. Otherwise throws the failure for the task: exit_NOBODY when nobody listens on the service's
// port, else exit_REFUSED.
void require_success(const std::string& task, int result);

// Whether somebody accepts connections on the service's port.
bool service_listens();

}  // namespace lutc_cli

#endif
