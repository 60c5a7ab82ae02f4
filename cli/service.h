// Telling why a call of the library failed.
#ifndef LUTC_CLI_SERVICE_H
#define LUTC_CLI_SERVICE_H

#include <string>

namespace lutc_cli {

// Passes on a result of 0. Otherwise throws the Failure for what: EXIT_NOBODY when nobody listens on the service's
// port, else EXIT_REFUSED.
void require_success(const std::string& what, int result);

// Whether somebody accepts connections on the service's port.
bool service_listens();

}  // namespace lutc_cli

#endif
