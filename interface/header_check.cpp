// The public headers are complete and valid on their own as C++.
#include "bson/bsonDocument.h"
#include "interface/lutc.h"
