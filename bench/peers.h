// What the document classes are measured against. Each function is one iteration of one benchmark.
#ifndef LUTC_BENCH_PEERS_H
#define LUTC_BENCH_PEERS_H

#include <cstddef>
#include <memory>
#include <vector>

#include "bench/samples.h"

namespace lutc_bench {

struct span {
    const unsigned char* begin;
    std::size_t size;
};

// The work that nobody gets around.
void copy_into(unsigned char* target, const bytes& source);
void allocate_copy_free(span source);
void allocate_copy_free_in_turn(const std::vector<span>& sources);   // one block at a time
void allocate_copy_free_together(const std::vector<span>& sources);  // all blocks there at once

// libbson has no tree of its own. This one gives what bsonDocument gives: each node owns its key, a malloc'ed copy of
// its value, and its children through pointers. It is filled and destroyed by recursion.
class libbson_tree {
  public:
    libbson_tree();  // empty
    ~libbson_tree();
    libbson_tree(const libbson_tree&) = delete;
    libbson_tree& operator=(const libbson_tree&) = delete;

    static bool validate(const bytes& source);  // bson_validate without any of its extra checks
    static bool walk(const bytes& source);      // the walk of fill, without a tree
    bool fill(const bytes& source);             // bson_iter_next and bson_iter_recurse
    std::size_t encode() const;                 // the bson_append_ functions into a new bson_t; its length
    bool copy() const;                          // each node with what it owns; then all of it is destroyed
    static std::size_t build();                 // six fields from constants into a new bson_t; its length

    struct node;

  private:
    std::vector<std::unique_ptr<node>> children_;
};

// nlohmann::ordered_json: from_bson has no way to validate alone.
class nlohmann_tree {
  public:
    explicit nlohmann_tree(const bytes& source);
    ~nlohmann_tree();
    nlohmann_tree(const nlohmann_tree&) = delete;
    nlohmann_tree& operator=(const nlohmann_tree&) = delete;

    static bool decode_and_destroy(const bytes& source);
    std::size_t encode() const;

  private:
    struct holder;
    std::unique_ptr<holder> holder_;
};

}  // namespace lutc_bench

#endif
