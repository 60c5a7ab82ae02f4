// What the page answers: paths, methods and queries to the state of the device, its pictures, its log and its faults.
#ifndef LUTC_SIMULATOR_PAGE_ROUTES_H
#define LUTC_SIMULATOR_PAGE_ROUTES_H

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulator/page/http.h"
#include "simulator/page/journal.h"
#include "simulator/page/render_queue.h"
#include "simulator/page/scene.h"
#include "simulator/service.h"

namespace simulator {

class routes {
  public:
    // The service and the renderer outlive this object. changed is called when there is something for event streams.
    routes(boost::asio::io_context& context, service& colour_service, const renderer& computes,
           std::vector<scene::picture> inputs, std::function<void()> changed);

    void handle(const http_request& request, const std::shared_ptr<http_exchange>& exchange);

    // A command was answered.
    void record(const answered_command& command);

  private:
    struct call {
        const http_request& request;
        std::vector<std::int32_t> numbers;  // those in the path
        std::shared_ptr<http_exchange> exchange;
    };
    using handler = void (routes::*)(const call&);
    struct method {
        const char* name;
        handler run;
    };
    struct route_entry {
        const char* pattern;  // each # is a number
        std::vector<std::string> parameters;
        std::vector<method> methods;
    };
    static const std::vector<route_entry>& table();

    void run(const route_entry& entry, const call& given);
    void get_file(const call& given);
    void get_input(const call& given);
    void get_channel(const call& given);
    void get_output(const call& given);
    void get_preset(const call& given);
    void get_component(const call& given);
    void get_state(const call& given);
    void get_events(const call& given);
    void get_log(const call& given);
    void get_log_entry(const call& given);
    void get_faults(const call& given);
    void add_fault(const call& given);
    void remove_faults(const call& given);
    void reset(const call& given);

    void answer_picture(const call& given, std::function<shot()> take);
    render_plan plan_component(std::int32_t channel, std::int32_t index, std::size_t points) const;
    std::string etag_of(const std::string& key) const;
    void note_obstacles();

    boost::asio::io_context& context_;
    service& service_;
    const renderer& computes_;
    scene scene_;
    render_queue queue_;
    journal journal_;
    std::set<std::string> obstacles_;  // that are there now
};

}  // namespace simulator

#endif
