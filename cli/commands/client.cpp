// lutc client
#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"

namespace lutc_cli {
namespace {

struct client_options {
    std::string model;
    std::optional<std::string> version;
    std::optional<std::string> serial;

    void declare(const command& client) {
        client.add_text("--model", model, "Model of the client").require();
        client.add_text("--client-version", version, "Its version, as text");
        client.add_text("--serial", serial, "Its serial");
    }

    void run() const { lutc::client_info(model, version, serial); }
};

}  // namespace

void add_client(const command& tool) { tool.add<client_options>("client", "Tell the service who the client is"); }

}  // namespace lutc_cli
