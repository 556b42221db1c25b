#pragma once

#include "linkage/core/managerstate.h"
#include "replay/output.h"
#include "replay/scenarioline.h"
#include "replay/times.h"

#include <QList>
#include <QString>

#include <algorithm>
#include <list>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// How the library's records and containers are written, and read from arguments.
namespace replay {

std::string strategyOf(const boost::shared_ptr<vexservice::CCommandRecord>& command);
bool isBuy(const vexservice::COrderDetail& order);
bool isBuy(const vexservice::CDealDetail& deal);

void write(CJsonWriter& out, const TC::TradeStatData& record);
void write(CJsonWriter& out, const TC::LinkagePeriodExtData& record);
void write(CJsonWriter& out, const vexservice::COrderDetail& order);
void write(CJsonWriter& out, const vexservice::CDealDetail& deal);
void write(CJsonWriter& out, const vexservice::CTaskDetail& task);
TC::TradeStatData readStat(const CValue& value);

inline void write(CJsonWriter& out, const std::string& text) { out.value(text); }
inline void write(CJsonWriter& out, const QString& text) { out.value(text.toStdString()); }
template <class T>
requires std::is_arithmetic_v<T>
void write(CJsonWriter& out, T number) { out.value(number); }
template <class T>
void write(CJsonWriter& out, const boost::shared_ptr<T>& record) {
    if (record) {
        write(out, *record);
    } else {
        out.null();
    }
}
template <class A, class B>
void write(CJsonWriter& out, const std::pair<A, B>& both) {
    out.beginArray();
    write(out, both.first);
    write(out, both.second);
    out.endArray();
}

template <class List>
void writeList(CJsonWriter& out, const List& list) {
    out.beginArray();
    for (const auto& entry : list) write(out, entry);
    out.endArray();
}
template <class T>
void write(CJsonWriter& out, const std::set<T>& list) {
    writeList(out, list);
}
template <class T>
void write(CJsonWriter& out, const std::list<T>& list) {
    writeList(out, list);
}
template <class T>
void write(CJsonWriter& out, const QList<T>& list) {
    writeList(out, list);
}

enum class EKeys { DECIMAL, DAYS };

/// Writes a map, or maps within maps, as an object in byte order of the keys' texts. Numbers as
/// keys are written in decimal, or as days. `leaf` writes the values of the innermost maps.
template <class Map, class Leaf>
void writeMap(CJsonWriter& out, const Map& map, const Leaf& leaf, EKeys keys = EKeys::DECIMAL) {
    using Key = typename Map::key_type;
    using Value = typename Map::mapped_type;
    const auto content = [&](const Value& value) {
        if constexpr (requires { typename Value::mapped_type; }) {
            writeMap(out, value, leaf);
        } else {
            leaf(out, value);
        }
    };
    out.beginObject();
    if constexpr (std::is_same_v<Key, std::string>) {
        for (const auto& [key, value] : map) {
            out.textKey(key);
            content(value);
        }
    } else {
        std::vector<std::pair<std::string, const Value*>> sorted;
        sorted.reserve(map.size());
        for (const auto& [key, value] : map) {
            sorted.emplace_back(
                keys == EKeys::DAYS ? dateText(static_cast<int>(key)) : std::to_string(key),
                &value);
        }
        std::sort(sorted.begin(), sorted.end());
        for (const auto& [key, value] : sorted) {
            out.key(key);
            content(*value);
        }
    }
    out.endObject();
}

template <class Key, class T>
void write(CJsonWriter& out, const std::map<Key, T>& map) {
    writeMap(out, map, [](CJsonWriter& to, const auto& value) { write(to, value); });
}

/// The manager's state as one object.
void writeState(CJsonWriter& out, const TC::ManagerState& state);

}  // namespace replay
