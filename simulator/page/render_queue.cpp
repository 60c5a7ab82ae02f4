#include "simulator/page/render_queue.h"

#include <sys/resource.h>

#include <algorithm>
#include <boost/asio/post.hpp>
#include <exception>
#include <utility>

namespace simulator {

namespace {

constexpr int niceness = 10;  // of the thread: a tenth of the service's share of a busy processor
constexpr std::size_t max_remembered = 32u << 20, max_pictures = 256;

}  // namespace

render_queue::~render_queue() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
    }
    changed_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void render_queue::answer(const std::string& place, const std::string& if_none_match,
                          std::function<render_plan()> make_plan, const std::shared_ptr<http_exchange>& exchange) {
    const std::string etag = make_plan().etag;
    if (is_current(if_none_match, etag)) return exchange->answer(http_unchanged(etag));
    if (const http_answer* kept = recall(etag)) return exchange->answer(*kept);
    if (busy_ && etag_ == etag) return waiting_.push_back(exchange);
    job& planned = jobs_[place];
    if (planned.waiting.empty()) order_.push_back(place);
    planned.make_plan = std::move(make_plan);
    planned.waiting.push_back(exchange);
    start_next();
}

void render_queue::start_next() {
    while (!busy_ && !order_.empty()) {
        const std::string place = order_.front();
        order_.pop_front();
        const job next = std::move(jobs_.extract(place).mapped());
        if (std::none_of(next.waiting.begin(), next.waiting.end(), [](const auto& each) { return each->wanted(); }))
            continue;
        try {
            const render_plan plan = next.make_plan();
            if (const http_answer* kept = recall(plan.etag)) {  // another place shows the same
                for (const auto& each : next.waiting) each->answer(*kept);
                continue;
            }
            hand_over(plan);
            busy_ = true;
            waiting_ = next.waiting;
        } catch (const request_error& error) {
            for (const auto& each : next.waiting) each->answer(http_failure(error.status(), error.what()));
        } catch (const std::exception& error) {
            for (const auto& each : next.waiting) each->answer(http_failure(500, error.what()));
        }
    }
}

void render_queue::hand_over(const render_plan& plan) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!thread_.joinable()) thread_ = std::thread([this] { work(); });
    etag_ = plan.etag;
    task_ = [this, plan] {
        http_answer answer;
        try {
            answer.body = plan.render();
            answer.type = plan.type;
            answer.etag = plan.etag;
        } catch (const std::exception& error) {
            answer = http_failure(500, error.what());
        }
        boost::asio::post(context_, [this, answer = std::move(answer)] { finish(answer); });
    };
    changed_.notify_one();
}

void render_queue::finish(const http_answer& answer) {
    busy_ = false;
    const auto waiting = std::exchange(waiting_, {});
    if (answer.status == 200) remember(answer);
    for (const auto& each : waiting) each->answer(answer);
    start_next();
}

const http_answer* render_queue::recall(const std::string& etag) {
    const auto kept =
        std::find_if(memory_.begin(), memory_.end(), [&](const http_answer& each) { return each.etag == etag; });
    if (kept == memory_.end()) return nullptr;
    memory_.splice(memory_.begin(), memory_, kept);
    return &*kept;
}

void render_queue::remember(const http_answer& answer) {
    memory_.push_front(answer);
    std::size_t size = 0, count = 0;
    const auto first_too_many = std::find_if(memory_.begin(), memory_.end(), [&](const http_answer& kept) {
        return (size += kept.body.view().size()) > max_remembered || ++count > max_pictures;
    });
    memory_.erase(first_too_many, memory_.end());
}

void render_queue::work() {
    ::setpriority(PRIO_PROCESS, 0, niceness);  // of this thread alone
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return stopped_ || task_; });
        if (stopped_) return;
        const auto task = std::exchange(task_, nullptr);
        lock.unlock();
        task();
        lock.lock();
    }
}

}  // namespace simulator
