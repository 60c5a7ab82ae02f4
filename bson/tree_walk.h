// Visits a document and everything embedded in it, in message order, without recursion.
#ifndef LUTC_BSON_TREE_WALK_H
#define LUTC_BSON_TREE_WALK_H

#include <cstddef>
#include <vector>

#include <lutc/bsonDocument.h>

namespace lutc_bson {

// visitor.visit(element) is called for every element. It returns the embedded document to go into, or null.
//
// visitor.leave(holder, mark) is called behind the last element of the embedded document of holder.
//
// visitor.mark is what the visitor holds for the document that it is in. leave gets the one with which the document was
// entered; afterwards it is the holding document's again.
template <class Visitor>
void walk_tree(const bsonDocument& root, Visitor& visitor) {
    struct place {
        const bsonDocument* document;
        const bsonElement* holder;
        std::size_t next;
        decltype(Visitor::mark) mark;
    };
    std::vector<place> above;
    place here{&root, nullptr, 0, visitor.mark};
    for (;;) {
        if (here.next < here.document->elementList.size()) {
            const bsonElement& element = *here.document->elementList[here.next++];
            if (const bsonDocument* const inner = visitor.visit(element)) {
                above.push_back(here);
                here = {inner, &element, 0, visitor.mark};
            }
            continue;
        }
        if (above.empty()) return;
        visitor.leave(*here.holder, here.mark);
        here = above.back();
        above.pop_back();
        visitor.mark = here.mark;
    }
}

}  // namespace lutc_bson

#endif
