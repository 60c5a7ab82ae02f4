// The program itself, as a process of its own on a free port.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "tests/simulator/exchange.h"

namespace {

constexpr int deadline_milliseconds = 20000;

// A running simulator and what it prints, on standard output and error alike.
class Process {
  public:
    explicit Process(std::vector<std::string> options) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
        output_ = ends[0];
        options.insert(options.begin(), LUTC_SIMULATOR);
        std::vector<char*> arguments;
        for (std::string& option : options) arguments.push_back(option.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
        posix_spawn_file_actions_adddup2(&actions, ends[1], 2);
        const int error = posix_spawn(&id_, LUTC_SIMULATOR, &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        if (error != 0) throw std::runtime_error("posix_spawn");
    }
    ~Process() {
        if (id_ > 0) end(SIGKILL);
        close(output_);
    }

    // The next line; empty at the end of the output.
    std::string line() {
        std::string text;
        char byte = 0;
        pollfd readable{output_, POLLIN, 0};
        while (poll(&readable, 1, deadline_milliseconds) == 1 && read(output_, &byte, 1) == 1 && byte != '\n')
            text += byte;
        return text;
    }

    // Ends it with a signal (0: waits until it ends by itself); its exit code, or minus the signal that ended it.
    int end(int signal) {
        if (signal != 0) kill(id_, signal);
        int status = 0;
        waitpid(id_, &status, 0);
        id_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

  private:
    pid_t id_ = 0;
    int output_ = -1;
};

// A connection; reads end at the deadline.
class Connection {
  public:
    explicit Connection(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(static_cast<std::uint16_t>(port));
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval time{deadline_milliseconds / 1000, 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (connect(socket_, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0)
            throw std::runtime_error("connect");
    }
    Connection(Connection&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}
    ~Connection() {
        if (socket_ >= 0) close(socket_);
    }

    bool write(const std::string& bytes) const {
        return send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // Everything until the service closes its side; "<reset>" or "<time-out>" where that never comes.
    std::string all() const {
        std::string bytes;
        char buffer[65536];
        for (;;) {
            const ssize_t count = recv(socket_, buffer, sizeof buffer, 0);
            if (count == 0) return bytes;
            if (count < 0) return bytes + (errno == ECONNRESET ? "<reset>" : "<time-out>");
            bytes.append(buffer, static_cast<std::size_t>(count));
        }
    }

  private:
    int socket_;
};

class Server {
  public:
    explicit Server(std::vector<std::string> options = {}) : process(with(std::move(options))) {
        const std::string ready = process.line(), expected = "lutc-simulator: listening on 127.0.0.1:";
        if (ready.compare(0, expected.size(), expected) != 0) throw std::runtime_error(ready);
        port = std::stoi(ready.substr(expected.size()));
    }
    std::string send(const std::string& bytes) const {
        const Connection connection(port);
        connection.write(bytes);
        return connection.all();
    }
    std::string call(const std::string& name, const std::string& fields = "{}") const {
        return replyText(send(commandBytes(name, fields)));
    }

    Process process;
    int port = 0;

  private:
    static std::vector<std::string> with(std::vector<std::string> options) {
        options.insert(options.end(), {"--port", "0"});
        return options;
    }
};

TEST(Server, AnswersLogsAndStops) {
    Server server;
    EXPECT_EQ("{'colorTransformState':0}", server.call("getColorTransformState", "{'channelIndex':1}"));
    EXPECT_EQ("1 < getColorTransformState channelIndex=1", server.process.line());
    EXPECT_EQ("1 > code=0 message=\"ok\" colorTransformState=0", server.process.line());
    EXPECT_EQ("2: there is no command \"x\"", server.call("x", "{'data':'hex:0001','message':'no\\nline'}"));
    EXPECT_EQ("2 < x data=[2 bytes 00 01] message=\"no\\x0aline\"", server.process.line());
    EXPECT_EQ("2 > code=2 message=\"there is no command \\\"x\\\"\"", server.process.line());
    EXPECT_EQ(0, server.process.end(SIGTERM));
}

TEST(Server, PutsCommandsTogether) {
    const Server server({"--quiet"});
    const std::string command = commandBytes("getModelInfo"), expected = server.send(command);
    for (std::size_t cut = 1; cut < command.size(); ++cut) {
        const Connection connection(server.port);
        ASSERT_TRUE(connection.write(command.substr(0, cut)) && connection.write(command.substr(cut)));
        ASSERT_EQ(expected, connection.all()) << "cut after " << cut;
    }
    EXPECT_EQ(expected, server.send(command + command)) << "one command a connection";
}

TEST(Server, RefusesImpossibleLengthsWithoutLosingTheReply) {
    const Server server({"--quiet", "--max-command", "1000"});
    EXPECT_EQ("1: the command claims a length of 4", replyText(server.send(std::string("\4\0\0\0", 4))));
    const std::string longest = commandBytes("x", "{'fill':'" + std::string(1000 - 85, 'x') + "'}");
    ASSERT_EQ(1000u, longest.size());
    EXPECT_EQ("2: there is no command \"x\"", replyText(server.send(longest)));
    EXPECT_EQ("1: the command has 2147483647 bytes; at most 1000 are taken",
              replyText(server.send("\xFF\xFF\xFF\x7F" + std::string(5000000, 'x'))));
}

TEST(Server, ClosesSilentConnections) {
    const Server server({"--quiet", "--idle-timeout", "1"});
    const Connection silent(server.port), half(server.port);
    half.write(commandBytes("getModelInfo").substr(0, 20));
    EXPECT_EQ("", silent.all());
    EXPECT_EQ("", half.all());
}

TEST(Server, ServesManyConnections) {
    const Server server({"--quiet"});
    const std::string command = commandBytes("getOverridePreset"), expected = server.send(command);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(expected, server.send(command));
    std::vector<Connection> open;
    for (int i = 0; i < 300; ++i) open.emplace_back(server.port);
    for (const Connection& connection : open) ASSERT_TRUE(connection.write(command));
    for (const Connection& connection : open) ASSERT_EQ(expected, connection.all());
}

TEST(Server, GoesWrongOnDemand) {
    const Server server({"--quiet", "--fault", "getOption:1=reset", "--fault", "getOption:2=close", "--fault",
                         "getOption:3=silence,50", "--fault", "getOption:4=event-first", "--fault",
                         "getOption:5=trickle", "--fault", "setOption=refuse"});
    const std::string command = commandBytes("getOption", "{'name':'rangeMode'}");
    EXPECT_EQ("<reset>", server.send(command));
    EXPECT_EQ("", server.send(command));
    EXPECT_EQ("", server.send(command));
    const std::string event = encoded("{'type':'event','msgID':1,'event':'simulated'}");
    EXPECT_EQ(event, server.send(command).substr(0, event.size()));
    EXPECT_EQ("7: refused on demand", server.call("setOption", "{'name':'rangeMode','value':'legal'}"));
    EXPECT_EQ("{'value':'full'}", replyText(server.send(command))) << "trickled, and not set before";
    EXPECT_EQ("{'value':'full'}", replyText(server.send(command)));
}

TEST(Server, EndsWithAReasonWhenItCanNotStart) {
    const Server first({"--quiet"});
    const std::string port = std::to_string(first.port);
    Process second({"--port", port});
    EXPECT_EQ("lutc-simulator: can't listen on 127.0.0.1:" + port + ": Address already in use", second.line());
    EXPECT_EQ("", second.line());
    EXPECT_EQ(1, second.end(0));
    Process misused({"--fault", "getOption=fire"});
    EXPECT_EQ("lutc-simulator: --fault: there is no fault \"fire\"", misused.line());
    EXPECT_EQ(2, misused.end(0));
    EXPECT_EQ(2, Process({"--porl", "1"}).end(0));
}

TEST(Server, KilledWhileSavingLeavesAWholeLibrary) {
    std::string folder = (std::filesystem::temp_directory_path() / "lutc-kill-XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    const std::string newFile = folder + "/lutc-presets.bson.new";
    const std::string lut(400000, '0');  // as hexadecimal digits
    std::vector<std::string> uploads;
    for (int i = 0; i < 10; ++i)
        uploads.push_back(commandBytes("sendPreset", "{'presetName':'" + std::to_string(i) +
                                                         "','gradeCombo':[{'type':'3dlut','dataFormat':'f',"
                                                         "'data':'hex:" +
                                                         lut + "'}]}"));
    for (int round = 0; round < 10; ++round) {
        Server server({"--quiet", "--media", folder});
        if (round > 0) {
            ASSERT_EQ("{}", server.call("loadPresetsFromMedia"));
            const std::string list = server.call("getPresetsList");
            const auto presets = std::count(list.begin(), list.end(), '[') - 1;
            ASSERT_TRUE(presets == 1 || presets == 10) << presets;
        }
        server.call("deleteAllPresets");
        const std::size_t count = round % 2 == 0 ? 1 : 10;
        for (std::size_t i = 0; i < count; ++i) ASSERT_EQ("{}", replyText(server.send(uploads[i])));
        if (round == 0) {
            ASSERT_EQ("{}", server.call("savePresetsToMedia"));
            continue;
        }
        // Killed as soon as the new file is seen; a save that was too quick for that is over within the limit.
        std::filesystem::remove(newFile);
        const Connection connection(server.port);
        connection.write(commandBytes("savePresetsToMedia"));
        const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
        while (!std::filesystem::exists(newFile) && std::chrono::steady_clock::now() < limit) {
        }
        EXPECT_EQ(-SIGKILL, server.process.end(SIGKILL));
    }
    std::filesystem::remove_all(folder);
}

}  // namespace
