#include <lutc/lutc.h>
#include "interface/call.h"

using namespace lutc_calls;

namespace {

struct connection_type {
    std::int32_t code;
    const char* name;
};
constexpr connection_type connection_types[] = {
    {LUTC_VIDEO_INPUT, "input"}, {LUTC_VIDEO_CHANNEL, "channel"}, {LUTC_VIDEO_OUTPUT, "output"}};

// One end of a connection as it stands in a reply.
struct connection_end {
    int index = 0;
    std::string_view type_name;

    bool read(const document_view& connection, const char* index_key, const char* type_key) {
        return read_int32(connection.find(index_key), index) && read_text(connection.find(type_key), type_name);
    }

    // A type that is none of the three leaves the code as it is.
    void hand_over(std::int32_t& code, std::int32_t& code_index) const {
        code_index = index;
        for (const connection_type& known : connection_types) {
            if (type_name == known.name) code = known.code;
        }
    }
};

struct received_connection {
    connection_end source;
    connection_end destination;

    bool read(const element_view& element) {
        if (element.type != bson_type::document) return false;
        const document_view fields(element.value, element.size);
        return source.read(fields, "sourceIndex", "sourceType") &&
               destination.read(fields, "destinationIndex", "destinationType");
    }

    void hand_over(videoConnection& record) const {
        source.hand_over(record.sourceType, record.sourceIndex);
        destination.hand_over(record.destinationType, record.destinationIndex);
    }
};

// Appends the type's name when it is one of the two that this end may have.
void add_type(bsonDocument& command, const char* key, std::int32_t code, std::int32_t other) {
    if (code == LUTC_VIDEO_CHANNEL || code == other) add_element(command, key, connection_types[code].name);
}

}  // namespace

int lutc_get_video_connections(videoConnection* connections, int* connectionCount) noexcept {
    if (connections == nullptr || connectionCount == nullptr) return refuse();
    return call("getVideoConnections", small_reply, nothing_to_append, [&](const document_view& reply) {
        int count = 0;
        const element_view list = reply.find("videoConnections");
        if (list.type == bson_type::array) {
            document_view left(list.value, list.size);
            element_view element;
            for (int i = 0; i < LUTC_MAX_VIDEO_CONNECTIONS && left.take(element); ++i) {
                received_connection connection;
                if (connection.read(element)) connection.hand_over(connections[count++]);
            }
        }
        *connectionCount = count;
        return true;
    });
}

int lutc_set_video_connection(const videoConnection* connection) noexcept {
    if (connection == nullptr) return refuse();
    return call("setVideoConnection", [&](bsonDocument& command) {
        add_type(command, "sourceType", connection->sourceType, LUTC_VIDEO_INPUT);
        add_element(command, "sourceIndex", connection->sourceIndex);
        add_type(command, "destinationType", connection->destinationType, LUTC_VIDEO_OUTPUT);
        add_element(command, "destinationIndex", connection->destinationIndex);
    });
}
