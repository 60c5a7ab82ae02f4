#include "simulator/page/render_queue.h"

#include <sys/resource.h>

#include <algorithm>
#include <boost/asio/post.hpp>
#include <exception>
#include <utility>

namespace simulator {

namespace {

constexpr int niceness = 10;  // of the thread: a tenth of the service's share of a busy processor
constexpr std::size_t max_remembered = 32u << 20;

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
    for (auto kept = memory_.begin(); kept != memory_.end(); ++kept) {
        if (kept->place != place || kept->etag != etag) continue;
        memory_.splice(memory_.begin(), memory_, kept);
        return exchange->answer(kept->answer);
    }
    if (busy_ && place_ == place && etag_ == etag) return waiting_.push_back(exchange);
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
            hand_over(next.make_plan());
            busy_ = true;
            place_ = place;
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
    if (answer.status == 200) remember(place_, answer);
    for (const auto& each : waiting) each->answer(answer);
    start_next();
}

void render_queue::remember(const std::string& place, const http_answer& answer) {
    memory_.remove_if([&](const remembered& kept) { return kept.place == place; });
    memory_.push_front({place, answer.etag, answer});
    std::size_t size = 0;
    const auto first_too_many = std::find_if(memory_.begin(), memory_.end(), [&](const remembered& kept) {
        return (size += kept.answer.body.view().size()) > max_remembered;
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
