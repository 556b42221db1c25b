#pragma once

/// The legacy BSON classes live in the namespace `mongo`; the client and its
/// modules call them `bson`. Include <mongo/bson/bson.h> where they are used.
namespace mongo {
class BSONObj;
class BSONObjBuilder;
}  // namespace mongo

namespace bson = mongo;
