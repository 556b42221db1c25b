#include "replay/replay.h"

#include "replay/journal.h"
#include "replay/readahead.h"

#include <optional>

namespace replay {

namespace {

/// How often the watcher hears of the progress, in lines.
constexpr std::size_t PROGRESS_LINES = 256;

class CFilePlay {
public:
    CFilePlay(CReadAhead& lines, const ReplayOptions& options, COutput& output,
              IReplayWatcher& watcher)
        : m_lines(lines),
          m_output(output),
          m_watcher(watcher),
          m_bAnswers(options.answers),
          m_session({QString::fromStdString(options.dataDir), options.log, watcher.requests(),
                     options.record, options.recordFrom},
                    output) {
        if (!options.journal.empty()) m_journal.emplace(options.journal);
    }

    void run() {
        try {
            playLines();
        } catch (const LineError&) {
            end();
            throw;
        }
        end();
        m_watcher.finished(m_session);
    }

private:
    void end() {
        m_session.rest();
        if (m_journal) m_journal->flush();
    }

    void playLines() {
        while (const ParsedLine* const line = m_lines.next()) {
            play(*line);
            if (m_bAnswers) {
                m_session.rest();
                m_output.endAnswer();
            }
            if (line->number % PROGRESS_LINES == 0) m_watcher.progress(line->progress);
        }
    }

    void play(const ParsedLine& line) {
        const bool first = !m_session.started();
        m_watcher.before(line.event, m_session);
        m_session.play(line.event);
        m_watcher.after(line.event, m_session);
        if (!m_journal) return;
        if (first) {
            m_journal->begin(line.text, m_session);
        } else {
            m_journal->add(line.text);
        }
    }

    CReadAhead& m_lines;
    COutput& m_output;
    IReplayWatcher& m_watcher;
    const bool m_bAnswers;
    CSession m_session;
    std::optional<CJournal> m_journal;
};

}  // namespace

std::string playFile(const std::string& path, const ReplayOptions& options, COutput& output,
                     IReplayWatcher* watcher) {
    IReplayWatcher nobody;
    try {
        // A program that answers each line before it sends the next is not to be read ahead of.
        CReadAhead lines(path, {.texts = !options.journal.empty(), .ahead = !options.answers});
        if (!options.journal.empty() && overwrites(options.journal, path)) {
            throw InputError("the journal would overwrite it");
        }
        try {
            CFilePlay(lines, options, output, watcher ? *watcher : nobody).run();
        } catch (const LineError& fault) {
            return path + ":" + std::to_string(lines.number()) + ": " + fault.what();
        }
    } catch (const InputError& fault) {
        return path + ": " + fault.what();
    }
    return {};
}

}  // namespace replay
