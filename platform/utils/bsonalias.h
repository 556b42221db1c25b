#pragma once

/// @file
/// The legacy BSON classes live in the namespace `mongo`; the client and its
/// modules call them `bson`. Include <mongo/bson/bson.h> where they are used.
namespace mongo {
class BSONObj;
class BSONObjBuilder;
}  // namespace mongo

/// Define LINKAGE_NO_BSON_ALIAS where `bson` is something else: the public headers do without it.
#ifndef LINKAGE_NO_BSON_ALIAS
namespace bson = mongo;
#endif
