// A service that says exactly what arrives when, over a socket pair. It supplies qv_rpc_client_connect and
// qv_rpc_client_disconnect; a connect reaches the service that the calling thread created last, so tests in several
// threads don't meet. A connect in a thread without one is a test failure, as is a second connect, a connection that isn't
// disconnected exactly once, and out-values that aren't handed back. Both functions change errno.
#ifndef LUTC_TESTS_SUPPORT_SCRIPTED_SERVICE_H
#define LUTC_TESTS_SUPPORT_SCRIPTED_SERVICE_H

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

// One thing that the service does once it has read the command.
struct step {
    enum action { send, pause, close, reset } kind;
    std::string bytes;
    int milliseconds;
};
inline step send(std::string bytes) { return {step::send, std::move(bytes), 0}; }
inline step pause(int milliseconds) { return {step::pause, {}, milliseconds}; }  // once the client has read all
inline step hang_up() { return {step::close, {}, 0}; }
inline step reset() { return {step::reset, {}, 0}; }

// The text of a reply that is a success, with these fields behind the code.
inline std::string response(const std::string& fields) {
    return "{'type':'response','code':0" + (fields.empty() ? "" : "," + fields) + "}";
}

std::vector<step> dribble(const std::string& bytes, std::size_t piece, int milliseconds);

class scripted_service {
  public:
    // What connect returns: a socket; one whose other end reads slowly or never; -1; a socket that was never connected;
    // a socket, or the writing end of a pipe, whose other end has sent the script and is closed.
    enum class line_kind { socket, slow, unread, refused, unconnected, closed_socket, closed_pipe };

    // After the last step the service is silent. A connect leaves left in errno.
    explicit scripted_service(std::vector<step> script, line_kind line = line_kind::socket, int left = ENOEXEC);
    ~scripted_service();

    // It serves that many connections, one after another; without this, one.
    void serve(int times) { times_ = times; }

    // After the call: the bytes that it wrote, and whether no more than 9 ms lay between any two of the service's sends,
    // which decides whether a call had to take them as one message.
    const std::string& command();
    bool punctual();

    int left_by_connect() const { return left_; }
    int connect(const char* host, const char* port, std::uint32_t* first, std::uint32_t* second);
    void disconnect(int descriptor, const std::uint32_t* first, const std::uint32_t* second);

  private:
    using monotonic = std::chrono::steady_clock;

    void run();
    void read_command();
    bool send_in_chunks(const std::string& bytes);
    void finish();

    std::vector<step> script_;
    line_kind line_;
    int left_;
    int times_ = 1;
    std::atomic<int> peer_{-1};
    int descriptor_ = -1;
    std::uint32_t* values_[2] = {};
    int connects_ = 0;
    int disconnects_ = 0;
    std::string command_;
    monotonic::time_point last_send_;
    monotonic::duration longest_gap_{};
    std::thread thread_;
};

// The result of a call: 0, with errno as it was before, or errno's value after -1.
int outcome_of(const std::function<int()>& call);

// The outcome of the call, made anew, up to 50 times, while the machine was too busy for the service to send in time.
int punctually(const std::vector<step>& script, const std::function<int()>& call);

#endif
