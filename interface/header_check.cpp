// The public headers are complete and valid on their own as C++.
#include <lutc/bsonDocument.h>
#include <lutc/lutc.h>
