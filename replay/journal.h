#pragma once

#include "replay/session.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace replay {

/// Whether a journal at this path would overwrite the scenario ("-": standard input), even under
/// another name of the same file.
bool overwrites(const std::string& journal, const std::string& scenario);

/// A scenario that is written while it happens: what reached the library and its client,
/// in order. Played on an empty data directory it gives the same output again.
///
/// What a paper exchange answers is not written: the exchange gives the same answers to
/// the same events.
///
/// Threads: one. Failure: throws InputError when the file cannot be written.
class CJournal {
public:
    explicit CJournal(const std::string& path);
    ~CJournal();

    /// The config line, and the files that the library finds at its start.
    void begin(std::string_view configLine, const CSession& session);
    void add(std::string_view line);
    void flush();

private:
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::string m_path;
    std::unique_ptr<std::FILE, Closer> m_pFile;
};

}  // namespace replay
