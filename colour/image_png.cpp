#include "colour/image_png.h"

#include <png.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <fstream>
#include <new>
#include <optional>
#include <utility>

#include "colour/error.h"

namespace colour {
namespace {

constexpr std::size_t most_deflated = 1032;  // bytes that one byte of a deflated stream can become

// libpng reports a failure by a jump back into run(); its message then stands here.
struct png_failure {
    char message[200] = "";
};

[[noreturn]] void fail(png_structp png, png_const_charp message) {
    auto& failure = *static_cast<png_failure*>(png_get_error_ptr(png));
    std::strncpy(failure.message, message, sizeof failure.message - 1);
    png_longjmp(png, 1);
}

void ignore_warning(png_structp /*png*/, png_const_charp /*message*/) {}

// Runs step, which calls libpng and holds nothing that a jump out of it would leak. Whether it got through.
template <class Step>
bool run(png_structp png, const Step& step) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    step();
    return true;
}

class png_reader {
  public:
    explicit png_reader(std::string name)
        : name_(std::move(name)), png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, &failure_, fail, ignore_warning)) {
        info_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    }
    png_reader(const png_reader&) = delete;
    png_reader& operator=(const png_reader&) = delete;
    ~png_reader() { png_destroy_read_struct(&png_, &info_, nullptr); }

    // The header, and that the samples come as RGB of 8 or 16 bits in the machine's order. Returns the depth.
    int begin(std::istream& file, image& picture) {
        if (info_ == nullptr) throw std::bad_alloc();
        run_or_throw([&] {
            png_set_read_fn(png_, &file, read_bytes);
            // Only the pixels count: no chunk beside them is unpacked or kept, and no limit but ours is in the way.
            png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
            png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
            png_read_info(png_, info_);
        });
        picture.width = png_get_image_width(png_, info_);
        picture.height = png_get_image_height(png_, info_);
        if (picture.width > max_image_side || picture.height > max_image_side) {
            throw content_error(name_ + ": the picture has " + std::to_string(picture.width) + "x" +
                                std::to_string(picture.height) + " pixels; at most " + std::to_string(max_image_side) +
                                "x" + std::to_string(max_image_side) + " are read");
        }
        stored_bytes_ = png_get_rowbytes(png_, info_) * picture.height;
        run_or_throw([this] {
            png_set_expand(png_);
            png_set_strip_alpha(png_);
            png_set_gray_to_rgb(png_);
            const std::uint16_t one = 1;
            if (*reinterpret_cast<const unsigned char*>(&one) == 1) png_set_swap(png_);
            passes_ = png_set_interlace_handling(png_);
            png_read_update_info(png_, info_);
        });
        return png_get_bit_depth(png_, info_) == 16 ? 16 : 8;
    }

    // The bytes of the pixels as the file has them, before they are deflated.
    std::size_t stored_bytes() const { return stored_bytes_; }

    void read(unsigned char* pixels, std::size_t width, std::size_t height, int depth) {
        const std::size_t stride = 3 * width * static_cast<std::size_t>(depth) / 8;
        if (png_get_rowbytes(png_, info_) != stride) throw content_error(name_ + ": the pixels are no RGB");
        run_or_throw([&] {
            for (int pass = 0; pass < passes_; ++pass) {
                for (std::size_t y = 0; y < height; ++y) png_read_row(png_, pixels + y * stride, nullptr);
            }
            png_read_end(png_, nullptr);
        });
    }

  private:
    static void read_bytes(png_structp png, png_bytep bytes, png_size_t size) {
        auto& file = *static_cast<std::istream*>(png_get_io_ptr(png));
        file.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(size));
        if (!file) png_error(png, "it ends too early");
    }

    template <class Step>
    void run_or_throw(const Step& step) {
        if (!run(png_, step)) throw content_error(name_ + ": not a PNG that can be read: " + failure_.message);
    }

    std::string name_;
    png_failure failure_;
    png_structp png_;
    png_infop info_;
    std::size_t stored_bytes_ = 0;
    int passes_ = 1;
};

// The bytes of the file, when it can tell.
std::optional<std::size_t> size_of(std::istream& file) {
    const std::istream::pos_type start = file.tellg();
    file.seekg(0, std::ios::end);
    const std::istream::pos_type end = file.tellg();
    file.clear();
    file.seekg(start);
    if (!file || start < 0 || end < start) return {};
    return static_cast<std::size_t>(end - start);
}

// Appends to a vector; the vector's failure is kept until libpng is left.
struct png_sink {
    std::vector<unsigned char> bytes;
    bool is_full = false;
};

void write_bytes(png_structp png, png_bytep bytes, png_size_t size) {
    auto& sink = *static_cast<png_sink*>(png_get_io_ptr(png));
    try {
        sink.bytes.insert(sink.bytes.end(), bytes, bytes + size);
    } catch (const std::bad_alloc&) {
        sink.is_full = true;
    }
    if (sink.is_full) png_error(png, "no memory");
}

class png_writer {
  public:
    png_writer() : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure_, fail, ignore_warning)) {
        info_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
    }
    png_writer(const png_writer&) = delete;
    png_writer& operator=(const png_writer&) = delete;
    ~png_writer() { png_destroy_write_struct(&png_, &info_); }

    void begin(const image_rows& rows, int depth, png_sink& sink) {
        if (info_ == nullptr) throw std::bad_alloc();
        run_or_throw([&] {
            png_set_write_fn(png_, &sink, write_bytes, nullptr);
            png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
            png_set_compression_level(png_, 1);
            png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
            png_set_IHDR(png_, info_, static_cast<png_uint_32>(rows.width), static_cast<png_uint_32>(rows.height),
                         depth, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                         PNG_FILTER_TYPE_DEFAULT);
            png_write_info(png_, info_);
            const std::uint16_t one = 1;
            if (*reinterpret_cast<const unsigned char*>(&one) == 1) png_set_swap(png_);
        });
    }
    void write_row(const void* samples) {
        run_or_throw([&] { png_write_row(png_, static_cast<png_const_bytep>(samples)); });
    }
    void end() {
        run_or_throw([this] { png_write_end(png_, nullptr); });
    }

  private:
    template <class Step>
    void run_or_throw(const Step& step) {
        if (!run(png_, step)) throw error(std::string("the picture can't be encoded: ") + failure_.message);
    }

    png_failure failure_;
    png_structp png_;
    png_infop info_;
};

template <class Sample>
std::vector<unsigned char> encode(const image_rows& rows) {
    png_sink sink;
    // Room for all that can come: what isn't used is never touched, and nothing is moved while it grows.
    sink.bytes.reserve(rows.height * (3 * rows.width * sizeof(Sample) + 1) / 16 * 17 + 1024);
    png_writer writer;
    writer.begin(rows, 8 * sizeof(Sample), sink);
    std::vector<float> rgba(4 * rows.width);
    std::vector<Sample> samples(3 * rows.width);
    for (std::size_t y = 0; y < rows.height; ++y) {
        rows.read(y, rgba.data());
        quantise(rgba.data(), rows.width, samples.data());
        writer.write_row(samples.data());
    }
    writer.end();
    return std::move(sink.bytes);
}

}  // namespace

image decode_png(std::istream& file, const std::string& name) {
    const std::optional<std::size_t> size = size_of(file);
    image picture;
    png_reader reader(name);
    const int depth = reader.begin(file, picture);
    if (size && reader.stored_bytes() / most_deflated > *size) {
        throw content_error(name + ": not a PNG that can be read: it ends too early");
    }
    if (depth == 16) picture.samples.emplace<1>();
    std::visit(
        [&](auto& samples) {
            samples.resize(3 * picture.width * picture.height);
            reader.read(reinterpret_cast<unsigned char*>(samples.data()), picture.width, picture.height, depth);
        },
        picture.samples);
    return picture;
}

image read_png(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (file) file.peek();  // of a folder only reading fails
    if (file.bad() || !file.is_open()) throw error(path + ": can't be read: " + std::strerror(errno));
    return decode_png(file, path);
}

std::vector<unsigned char> encode_png(const image_rows& rows, int depth) {
    return depth == 16 ? encode<std::uint16_t>(rows) : encode<std::uint8_t>(rows);
}

}  // namespace colour
