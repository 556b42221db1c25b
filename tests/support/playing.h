#pragma once

#include "replay/replay.h"

#include <QTemporaryDir>

#include <zlib.h>

#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

/// Scenarios played inside a test program.
namespace tests {

struct Played {
    std::string output;
    std::string fault;  ///< "" when every line was played
};

inline Played playFile(const std::string& path, const replay::ReplayOptions& options = {},
                       replay::IReplayWatcher* watcher = nullptr) {
    Played played;
    replay::COutput output([&](std::string_view text) { played.output += text; });
    played.fault = replay::playFile(path, options, output, watcher);
    output.flush();
    return played;
}

inline std::string readText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline void writeText(const std::string& path, std::string_view text) {
    std::ofstream(path, std::ios::binary) << text;
}

/// The text as gzip packs it.
inline std::string packed(const std::string& text) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string bytes(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<unsigned>(text.size());
    stream.next_out = reinterpret_cast<unsigned char*>(bytes.data());
    stream.avail_out = static_cast<unsigned>(bytes.size());
    deflate(&stream, Z_FINISH);
    bytes.resize(stream.total_out);
    deflateEnd(&stream);
    return bytes;
}

/// A folder for a test's scenarios.
class ScenarioFolder {
public:
    std::string path(const std::string& name) const {
        return m_dir.filePath(QString::fromStdString(name)).toStdString();
    }
    Played play(std::string_view text, const replay::ReplayOptions& options = {},
                replay::IReplayWatcher* watcher = nullptr) const {
        writeText(path("in.jsonl"), text);
        return playFile(path("in.jsonl"), options, watcher);
    }

private:
    QTemporaryDir m_dir;
};

}  // namespace tests
