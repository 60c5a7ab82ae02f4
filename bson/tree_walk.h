// Visits a document and everything embedded in it, in message order, without recursion.
#ifndef LUTC_BSON_TREE_WALK_H
#define LUTC_BSON_TREE_WALK_H

#include <cstddef>
#include <vector>

#include <lutc/bsonDocument.h>

namespace lutc_bson {

// visitor.visit(element) is called for every element. It returns the embedded document to go into, or null.
// visitor.leave(holder) is called behind the last element of the embedded document of holder.
template <class Visitor>
void walk_tree(const bsonDocument& root, Visitor& visitor) {
    struct place {
        const bsonDocument* document;
        std::size_t next;
    };
    std::vector<place> above;
    place here{&root, 0};
    for (;;) {
        if (here.next < here.document->elementList.size()) {
            if (const bsonDocument* const inner = visitor.visit(*here.document->elementList[here.next++])) {
                above.push_back(here);
                here = {inner, 0};
            }
            continue;
        }
        if (above.empty()) return;
        here = above.back();
        above.pop_back();
        visitor.leave(*here.document->elementList[here.next - 1]);
    }
}

}  // namespace lutc_bson

#endif
