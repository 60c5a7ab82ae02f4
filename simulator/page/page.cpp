#include "simulator/page/page.h"

#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <stdexcept>

#include "simulator/device/text.h"

namespace simulator {

namespace {

std::vector<scene::picture> read_inputs(const std::vector<std::string>& given, std::size_t count,
                                        const renderer& computes) {
    std::vector<scene::picture> pictures;
    for (std::size_t i = 1; i <= count; ++i)
        pictures.push_back(std::make_shared<const colour::image>(computes.draw_chart(static_cast<int>(i))));
    for (const std::string& text : given) {
        std::size_t number = 0;
        const char* const end = text.data() + text.size();
        const auto result = std::from_chars(text.data(), end, number);
        if (result.ec != std::errc() || result.ptr == end || *result.ptr != '=' || number < 1 ||
            number > pictures.size())
            throw std::invalid_argument("--input: " + quote(text) + " is not N=FILE or N=none, N from 1 to " +
                                        std::to_string(pictures.size()));
        const std::string path(result.ptr + 1, end);
        pictures[number - 1] =
            path == "none" ? nullptr : std::make_shared<const colour::image>(computes.read_png(path));
    }
    return pictures;
}

}  // namespace

page_options read_page_place(const std::string& text) {
    page_options options;
    const std::size_t colon = text.rfind(':');
    if (colon != std::string::npos) options.address = text.substr(0, colon);
    const char* const begin = text.data() + (colon == std::string::npos ? 0 : colon + 1);
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(begin, end, options.port);
    boost::system::error_code error;
    boost::asio::ip::make_address_v4(options.address, error);
    if (error || result.ec != std::errc() || result.ptr != end)
        throw std::invalid_argument("--page: " + quote(text) + " is not [ADDRESS:]PORT with an IPv4 address");
    return options;
}

page::page(boost::asio::io_context& context, const page_options& options, service& colour_service)
    : routes_(context, colour_service, load_renderer(),
              read_inputs(options.inputs, colour_service.device().model().inputs, load_renderer()),
              [this] { server_.wake(); }),
      server_(context, options.address, options.port,
              [this](const auto& request, const auto& exchange) { routes_.handle(request, exchange); }),
      address_(boost::asio::ip::make_address_v4(options.address)) {
    colour_service.set_observer([this](const answered_command& command) { routes_.record(command); });
}

std::string page::url() const {
    const std::string host = address_.is_unspecified() ? "127.0.0.1" : address_.to_string();
    return "http://" + host + ":" + std::to_string(server_.port());
}

}  // namespace simulator
