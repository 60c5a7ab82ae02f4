#include "simulator/page/http_target.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/asio/ip/address_v4.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/src.hpp>
#include <boost/url/url_view.hpp>

namespace simulator {

namespace urls = boost::urls;

http_target read_target(std::string_view text) {
    const auto url = urls::parse_origin_form(urls::string_view(text.data(), text.size()));
    if (!url) throw std::invalid_argument("the path or the query can't be read");
    http_target target;
    target.path = url->path();
    for (const auto& parameter : url->params()) {
        if (parameter.key.empty() && parameter.value.empty()) continue;
        if (!target.query.emplace(parameter.key, parameter.value).second)
            throw std::invalid_argument("the query has \"" + parameter.key + "\" twice");
    }
    return target;
}

bool is_own_host(std::string_view host, const boost::asio::ip::address& local) {
    const auto authority = urls::parse_authority(urls::string_view(host.data(), host.size()));
    if (!authority || authority->has_userinfo()) return false;
    if (authority->host_type() != urls::host_type::ipv4)
        return boost::algorithm::iequals(authority->encoded_host(), "localhost");
    const boost::asio::ip::address_v4 address(authority->host_ipv4_address().to_uint());
    return address.is_loopback() || address == local;
}

}  // namespace simulator
