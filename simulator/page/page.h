// The simulated device over HTTP.
#ifndef LUTC_SIMULATOR_PAGE_PAGE_H
#define LUTC_SIMULATOR_PAGE_PAGE_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address_v4.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "simulator/page/http.h"
#include "simulator/page/routes.h"
#include "simulator/service.h"

namespace simulator {

struct page_options {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;           // 0: any free one
    std::vector<std::string> inputs;  // N=FILE or N=none; those that aren't named show the chart
};

// "[ADDRESS:]PORT". Throws std::invalid_argument.
page_options read_page_place(const std::string& text);

class page {
  public:
    // Listens, on the service's event loop; the service outlives this object. Throws std::invalid_argument for a wrong
    // input, std::runtime_error when something can't be read, loaded or listened on.
    page(boost::asio::io_context& context, const page_options& options, service& colour_service);

    std::string url() const;                                            // http://ADDRESS:PORT
    bool is_open_to_others() const { return !address_.is_loopback(); }  // beyond this machine
    void start() { server_.start(); }

  private:
    routes routes_;
    http_server server_;
    boost::asio::ip::address_v4 address_;
};

}  // namespace simulator

#endif
