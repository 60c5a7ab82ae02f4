#include "cli/console/service_answer.h"

#include <lutc/bsonDocument.h>
#include "trace/byte_stream.h"
#include "trace/connections.h"

namespace lutc_cli {
namespace {

std::optional<service_answer> last;

// Events may stand in front of the answer.
std::optional<service_answer> find_answer(lutc_trace::byte_stream from) {
    for (; from.is_whole(); from.drop_message()) {
        const bsonDocument document(reinterpret_cast<const unsigned char*>(from.kept.data()),
                                    static_cast<std::uint32_t>(from.claimed()), false, true);
        service_answer answer;
        std::string type;
        const bool is_response = document.getStringWithKey("type", type) == 1 && type == "response";
        if (!is_response || document.getInt32WithKey("code", &answer.code) != 1) continue;
        document.getStringWithKey("message", answer.message);
        return answer;
    }
    return std::nullopt;
}

class answer_watcher : public lutc_trace::watcher {
  public:
    void connected(int, int) override { last.reset(); }
    void wrote(const iovec*, std::size_t, ssize_t, int) override {}
    void got(const void* bytes, ssize_t result, int) override {
        if (result > 0) received_.add(bytes, static_cast<std::size_t>(result));
    }
    void ends() override { last = find_answer(std::move(received_)); }

  private:
    lutc_trace::byte_stream received_;
};

}  // namespace

std::optional<service_answer> last_answer() { return last; }

}  // namespace lutc_cli

namespace lutc_trace {

std::unique_ptr<watcher> watch() { return std::make_unique<lutc_cli::answer_watcher>(); }

}  // namespace lutc_trace
