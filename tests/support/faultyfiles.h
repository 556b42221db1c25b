#pragma once

#include "linkage/store/filesystem.h"

#include <functional>
#include <string>

namespace tests {

/// The machine's files, with a say before every call that reads or changes: `allow`
/// gets the call and the path (or "" where only the open file is known); a call that is
/// not allowed fails, and a write that is not allowed has written half.
class CFaultyFiles final : public TC::CDiskFiles {
public:
    using Allow = std::function<bool(const std::string& call, const std::string& path)>;

    explicit CFaultyFiles(Allow allow) : m_allow(std::move(allow)) {}

    bool makeDirectory(const std::string& path) override {
        return m_allow("makeDirectory", path) && CDiskFiles::makeDirectory(path);
    }
    ERead read(const std::string& path, std::string& bytes) override {
        return m_allow("read", path) ? CDiskFiles::read(path, bytes) : ERead::Failed;
    }
    int create(const std::string& path, const std::string& like) override {
        return m_allow("create", path) ? CDiskFiles::create(path, like) : -1;
    }
    bool write(int file, std::string_view bytes) override {
        CDiskFiles::write(file, bytes.substr(0, bytes.size() / 2));
        return m_allow("write", "") && CDiskFiles::write(file, bytes.substr(bytes.size() / 2));
    }
    bool flush(int file) override { return m_allow("flush", "") && CDiskFiles::flush(file); }
    bool close(int file) override { return CDiskFiles::close(file) && m_allow("close", ""); }
    bool rename(const std::string& from, const std::string& to) override {
        return m_allow("rename", to) && CDiskFiles::rename(from, to);
    }
    bool remove(const std::string& path) override {
        return m_allow("remove", path) && CDiskFiles::remove(path);
    }
    bool flushDirectory(const std::string& path) override {
        return m_allow("flushDirectory", path) && CDiskFiles::flushDirectory(path);
    }

private:
    const Allow m_allow;
};

}  // namespace tests
