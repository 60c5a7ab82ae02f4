// Pictures and other answers that take their time are made on a thread of their own, of lower priority, so that the
// service never waits for them: one after the other, never two for the same place at once, and never one that nobody
// waits for.
#ifndef LUTC_SIMULATOR_PAGE_RENDER_QUEUE_H
#define LUTC_SIMULATOR_PAGE_RENDER_QUEUE_H

#include <boost/asio/io_context.hpp>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "simulator/page/http.h"

namespace simulator {

// What is wrong with a request.
class request_error : public std::runtime_error {
  public:
    request_error(unsigned status, const std::string& why) : std::runtime_error(why), status_(status) {}
    unsigned status() const noexcept { return status_; }

  private:
    unsigned status_;
};

struct render_plan {
    std::string etag;  // the same as long as the content must be the same
    std::string type;
    std::function<http_body()> render;  // runs on the other thread and uses nothing that changes
};

class render_queue {
  public:
    explicit render_queue(boost::asio::io_context& context) : context_(context) {}
    ~render_queue();  // waits for what is being rendered

    // Answers with what the plan renders: at once when the client or the memory of the last ones has it. The plan is
    // made now and again when its turn comes, so that it shows what the device is then; it may throw a request_error.
    void answer(const std::string& place, const std::string& if_none_match, std::function<render_plan()> make_plan,
                const std::shared_ptr<http_exchange>& exchange);

  private:
    struct job {
        std::function<render_plan()> make_plan;
        std::vector<std::shared_ptr<http_exchange>> waiting;
    };

    void start_next();
    void hand_over(const render_plan& plan);
    void finish(const http_answer& answer);
    const http_answer* recall(const std::string& etag);  // null when it isn't remembered
    void remember(const http_answer& answer);
    void work();

    // The service's thread:
    boost::asio::io_context& context_;
    std::map<std::string, job> jobs_;  // by place
    std::deque<std::string> order_;
    std::list<http_answer> memory_;  // the one used last in front
    bool busy_ = false;
    std::string etag_;  // what is being rendered, and for whom
    std::vector<std::shared_ptr<http_exchange>> waiting_;
    std::thread thread_;  // from the first picture on

    // The hand-over:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::function<void()> task_;
    bool stopped_ = false;
};

}  // namespace simulator

#endif
