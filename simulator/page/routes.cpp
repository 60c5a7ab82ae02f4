#include "simulator/page/routes.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <charconv>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include "simulator/commands.h"
#include "simulator/device/text.h"
#include "simulator/media.h"
#include "simulator/page/state_json.h"
#include "simulator/page/web_files.h"

namespace simulator {

using nlohmann::ordered_json;

namespace {

http_answer json_answer(const ordered_json& content) {
    http_answer answer;
    answer.type = "application/json";
    answer.body = http_body(to_text(content) + "\n");
    return answer;
}

std::optional<std::uint64_t> number_in(std::string_view text) {
    std::uint64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
    return value;
}

// The numbers that stand in the path in the places of #; nothing when the path is another one.
std::optional<std::vector<std::int32_t>> match(std::string_view pattern, std::string_view path) {
    std::vector<std::int32_t> numbers;
    while (!pattern.empty() && !path.empty()) {
        if (pattern.front() != '#') {
            if (pattern.front() != path.front()) return std::nullopt;
            path.remove_prefix(1);
        } else {
            constexpr std::size_t most_digits = 9;
            const std::size_t length = std::min(path.find_first_not_of("0123456789"), path.size());
            if (length == 0 || length > most_digits) return std::nullopt;
            numbers.push_back(static_cast<std::int32_t>(*number_in(path.substr(0, length))));
            path.remove_prefix(length);
        }
        pattern.remove_prefix(1);
    }
    if (!pattern.empty() || !path.empty()) return std::nullopt;
    return numbers;
}

void check_index(std::int32_t index, std::size_t count, const char* thing) {
    if (index >= 1 && static_cast<std::size_t>(index) <= count) return;
    throw request_error(404, "there is no " + std::string(thing) + " " + std::to_string(index));
}

std::size_t parameter_number(const char* name, std::string_view text, std::size_t last) {
    const auto number = number_in(text);
    if (number && *number >= 1 && *number <= last) return static_cast<std::size_t>(*number);
    throw request_error(400,
                        std::string(name) + " " + quote(text) + " is not a number from 1 to " + std::to_string(last));
}

std::set<std::size_t> component_numbers(const char* name, std::string_view text, std::size_t count) {
    if (count == 0 && !text.empty()) throw request_error(400, std::string(name) + ": there are no components here");
    std::set<std::size_t> numbers;
    while (!text.empty()) {
        const std::size_t comma = std::min(text.find(','), text.size());
        numbers.insert(parameter_number(name, text.substr(0, comma), count));
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return numbers;
}

framing read_framing(const std::map<std::string, std::string>& query, const shot& from) {
    constexpr std::size_t widest = 1000000;
    framing wanted;
    const std::size_t count = from.grade ? from.grade->components.size() : 0;
    for (const auto& [name, value] : query) {
        if (name == "width") wanted.width = parameter_number("width", value, widest);
        if (name == "without") wanted.without = component_numbers("without", value, count);
        if (name == "only") wanted.only = component_numbers("only", value, count);
        if (name != "depth") continue;
        if (value != "8" && value != "16") throw request_error(400, "depth " + quote(value) + " is not 8 or 16");
        wanted.depth = value == "8" ? 8 : 16;
    }
    return wanted;
}

std::string read_fault(const std::string& body) {
    const auto given = ordered_json::parse(body, nullptr, false);
    if (!given.is_object() || given.size() != 1 || !given.contains("fault") || !given["fault"].is_string())
        throw request_error(400, "the body is not {\"fault\": \"COMMAND[:N[-M]]=[before-]KIND[,MS]\"}");
    return given["fault"].get<std::string>();
}

}  // namespace

routes::routes(boost::asio::io_context& context, service& colour_service, const renderer& computes,
               std::vector<scene::picture> inputs, std::function<void()> changed)
    : context_(context),
      service_(colour_service),
      computes_(computes),
      scene_(colour_service.device(), computes, std::move(inputs)),
      queue_(context),
      journal_(std::move(changed)) {}

const std::vector<routes::route_entry>& routes::table() {
    static const std::vector<route_entry> entries = [] {
        std::vector<route_entry> all{
            {"/inputs/#.png", {"depth", "width"}, {{"GET", &routes::get_input}}},
            {"/channels/#.png", {"depth", "width", "only", "without"}, {{"GET", &routes::get_channel}}},
            {"/outputs/#.png", {"depth", "width"}, {{"GET", &routes::get_output}}},
            {"/presets/#.png", {"depth", "width"}, {{"GET", &routes::get_preset}}},
            {"/channels/#/components/#.json", {"points"}, {{"GET", &routes::get_component}}},
            {"/state.json", {}, {{"GET", &routes::get_state}}},
            {"/events", {}, {{"GET", &routes::get_events}}},
            {"/log.json", {"since"}, {{"GET", &routes::get_log}}},
            {"/log/#.json", {}, {{"GET", &routes::get_log_entry}}},
            {"/faults",
             {"fault"},
             {{"GET", &routes::get_faults}, {"POST", &routes::add_fault}, {"DELETE", &routes::remove_faults}}},
            {"/reset", {}, {{"POST", &routes::reset}}},
        };
        for (const web_file& file : web_files) all.push_back({file.path, {}, {{"GET", &routes::get_file}}});
        return all;
    }();
    return entries;
}

void routes::handle(const http_request& request, const std::shared_ptr<http_exchange>& exchange) {
    try {
        for (const route_entry& entry : table()) {
            if (auto numbers = match(entry.pattern, request.path))
                return run(entry, {request, std::move(*numbers), exchange});
        }
        throw request_error(404, "there is nothing at " + quote(request.path));
    } catch (const request_error& error) {
        exchange->answer(http_failure(error.status(), error.what()));
    }
}

void routes::run(const route_entry& entry, const call& given) {
    std::string allowed;
    for (const method& each : entry.methods) {
        allowed += (allowed.empty() ? "" : ", ") + std::string(each.name) +
                   (each.name == std::string_view("GET") ? ", HEAD" : "");
        if (given.request.method != each.name) continue;
        for (const auto& parameter : given.request.query) {
            if (std::find(entry.parameters.begin(), entry.parameters.end(), parameter.first) == entry.parameters.end())
                throw request_error(400, "the query " + quote(parameter.first) + " is not known here");
        }
        return (this->*each.run)(given);
    }
    http_answer refused = http_failure(405, "only " + allowed + " can be used here");
    refused.allow = allowed;
    given.exchange->answer(refused);
}

void routes::get_file(const call& given) {
    const auto file = std::find_if(web_files.begin(), web_files.end(),
                                   [&](const web_file& each) { return given.request.path == each.path; });
    http_answer answer;
    answer.type = file->type;
    answer.etag = etag_of(std::string(file->bytes));
    answer.body = http_body(file->bytes);
    given.exchange->answer(is_current(given.request.if_none_match, answer.etag) ? http_unchanged(answer.etag) : answer);
}

// ---- Pictures ----

void routes::get_input(const call& given) {
    const std::int32_t index = given.numbers[0];
    check_index(index, service_.device().model().inputs, "input");
    answer_picture(given, [index] { return shot{index, nullptr, false}; });
}

void routes::get_channel(const call& given) {
    const std::int32_t index = given.numbers[0];
    check_index(index, service_.device().model().channels.size(), "channel");
    answer_picture(given, [this, index] { return scene_.channel(index); });
}

void routes::get_output(const call& given) {
    const std::int32_t index = given.numbers[0];
    check_index(index, service_.device().model().outputs, "output");
    answer_picture(given, [this, index] { return scene_.output(index); });
}

void routes::get_preset(const call& given) {
    answer_picture(given, [this, index = given.numbers[0]] {
        check_index(index, static_cast<std::size_t>(service_.device().presets().size()), "preset");
        return scene_.preset(index);
    });
}

void routes::answer_picture(const call& given, std::function<shot()> take) {
    std::string place = given.request.path;
    for (const auto& [name, value] : given.request.query) place += "&" + name + "=" + value;
    const auto plan = [this, query = given.request.query, take = std::move(take)] {
        const shot taken = take();
        const picture_plan planned = scene_.plan(taken, read_framing(query, taken));
        return render_plan{etag_of(scene_.key(planned)), "image/png",
                           [&computes = computes_, planned] { return http_body(computes.render(planned)); }};
    };
    queue_.answer(place, given.request.if_none_match, plan, given.exchange);
}

void routes::get_component(const call& given) {
    const std::int32_t channel = given.numbers[0], index = given.numbers[1];
    check_index(channel, service_.device().model().channels.size(), "channel");
    constexpr std::size_t most_points = 65536;
    std::size_t points = most_points;
    std::string place = given.request.path;
    if (const auto query = given.request.query.find("points"); query != given.request.query.end()) {
        points = parameter_number("points", query->second, most_points);
        place += "&points=" + query->second;
    }
    queue_.answer(
        place, given.request.if_none_match, [=] { return plan_component(channel, index, points); }, given.exchange);
}

render_plan routes::plan_component(std::int32_t channel, std::int32_t index, std::size_t points) const {
    const std::shared_ptr<const shown_grade> grade = scene_.channel(channel).grade;
    check_index(index, grade->components.size(), "component");
    const shown_component& component = grade->components[static_cast<std::size_t>(index) - 1];
    const ordered_json described = describe_component(component);
    const colour::grade_component* const operand = component.step ? grade->steps[*component.step].component : nullptr;
    const bool has_table = operand != nullptr && is_table(operand->type) && scene_.obstacle_of(*operand).empty();
    const std::string key = to_text(described) + (has_table ? scene_.key(*operand) + "," + std::to_string(points) : "");
    return {etag_of(key), "application/json", [=, &computes = computes_] {
                (void)grade;  // keeps the operand
                return http_body(has_table ? describe_table(described, thin_out(computes.read_table(*operand), points))
                                           : to_text(described));
            }};
}

std::string routes::etag_of(const std::string& key) const {
    return '"' + std::to_string(std::hash<std::string>()(journal_.instance() + key)) + '"';
}

// ---- State, log and events ----

void routes::get_state(const call& given) {
    ordered_json state = {{"instance", journal_.instance()}, {"revision", journal_.revision()}};
    state.update(describe_device(service_.device(), scene_));
    std::error_code ignored;
    const std::filesystem::path folder = service_.media_folder();
    state["media"] = {{"folder", folder.string()},
                      {"saved", std::filesystem::exists(folder / media_file_name, ignored)}};
    state["faults"] = service_.faults().list();
    given.exchange->answer(json_answer(state));
}

void routes::get_log(const call& given) {
    std::uint64_t since = 0;
    if (const auto given_since = given.request.query.find("since"); given_since != given.request.query.end()) {
        const auto number = number_in(given_since->second);
        if (!number) throw request_error(400, "since " + quote(given_since->second) + " is not a number");
        since = *number;
    }
    ordered_json entries = ordered_json::array();
    for (std::uint64_t i = std::max(journal_.log().first(), std::min(since, journal_.log().last()) + 1);
         i <= journal_.log().last(); ++i)
        entries.push_back(describe_entry(*journal_.log().find(i)));
    given.exchange->answer(json_answer(entries));
}

void routes::get_log_entry(const call& given) {
    const log_entry* const entry = journal_.log().find(static_cast<std::uint64_t>(given.numbers[0]));
    if (entry == nullptr)
        throw request_error(404, "the log has no number " + std::to_string(given.numbers[0]) + " (any more)");
    given.exchange->answer(json_answer(describe_messages(*entry)));
}

void routes::get_events(const call& given) {
    http_answer answer;
    answer.type = "text/event-stream";
    answer.next = journal_.follow(given.request.last_event_id);
    given.exchange->answer(answer);
}

void routes::record(const answered_command& command) {
    const bool has_changed = command.code == 0 && command.name.rfind("get", 0) != 0;
    journal_.add(command, has_changed || command.went_wrong);  // also the list of faults
    // Behind the reply, which goes out first.
    if (has_changed) boost::asio::post(context_, [this] { note_obstacles(); });
}

void routes::note_obstacles() {
    std::set<std::string> found;
    for (std::size_t i = 1; i <= service_.device().model().channels.size(); ++i) {
        for (std::string& text : scene_.find_obstacles(static_cast<std::int32_t>(i))) found.insert(std::move(text));
    }
    for (const std::string& text : found) {
        if (obstacles_.count(text) == 0) service_.log(journal_.note(text), '!', text);
    }
    obstacles_ = std::move(found);
}

// ---- Faults ----

void routes::get_faults(const call& given) {
    ordered_json kinds = ordered_json::array();
    for (const fault_kind& kind : fault_kinds)
        kinds.push_back({{"kind", kind.name}, {"milliseconds", kind.milliseconds}, {"help", kind.help}});
    given.exchange->answer(
        json_answer({{"faults", service_.faults().list()}, {"commands", command_names()}, {"kinds", kinds}}));
}

void routes::add_fault(const call& given) {
    const std::string fault = read_fault(given.request.body);
    try {
        service_.faults().add(fault);
    } catch (const std::invalid_argument& error) {
        throw request_error(400, error.what());
    }
    journal_.note_change();
    get_faults(given);
}

void routes::remove_faults(const call& given) {
    const auto wanted = given.request.query.find("fault");
    if (wanted == given.request.query.end()) {
        service_.faults().clear();
    } else if (!service_.faults().remove(wanted->second)) {
        throw request_error(404, "there is no fault " + quote(wanted->second));
    }
    journal_.note_change();
    get_faults(given);
}

void routes::reset(const call& given) {
    if (!given.request.body.empty()) throw request_error(400, "a reset has no body");
    service_.reset();
    journal_.note_change();
    given.exchange->answer(json_answer({{"done", true}, {"revision", journal_.revision()}}));
}

}  // namespace simulator
