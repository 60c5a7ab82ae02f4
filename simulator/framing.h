// Puts commands together from the bytes of a connection. No sockets.
#ifndef LUTC_SIMULATOR_FRAMING_H
#define LUTC_SIMULATOR_FRAMING_H

#include <cstddef>
#include <vector>

namespace simulator {

class command_framing {
  public:
    // Commands of more than max_size bytes are refused.
    explicit command_framing(std::size_t max_size) : max_size_(max_size) {}

    // Takes the bytes that have arrived and returns whether the command is whole. Throws a refusal as soon as the
    // command can't become a good one, or std::bad_alloc; nothing of it is kept then.
    bool add(const unsigned char* bytes, std::size_t count);

    bool is_empty() const { return bytes_.empty(); }
    std::size_t memory() const { return bytes_.capacity(); }  // that it holds

    // The whole command, without what arrived behind it.
    std::vector<unsigned char> take();

  private:
    std::size_t command_size() const;  // what its first bytes say; 0 before they are there

    std::size_t max_size_;
    std::vector<unsigned char> bytes_;
};

}  // namespace simulator

#endif
