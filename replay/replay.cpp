#include "replay/replay.h"

#include "replay/eventparser.h"
#include "replay/journal.h"

#include <optional>

namespace replay {

namespace {

/// How often the watcher hears of the progress, in lines.
constexpr std::size_t PROGRESS_LINES = 256;

class CFilePlay {
public:
    CFilePlay(CLineReader& reader, const ReplayOptions& options, COutput& output,
              IReplayWatcher& watcher)
        : m_reader(reader),
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
        std::string_view line;
        while (m_reader.next(line)) {
            play(m_parser.parse(line));
            if (m_bAnswers) {
                m_session.rest();
                m_output.endAnswer();
            }
            if (m_reader.number() % PROGRESS_LINES == 0) m_watcher.progress(m_reader.progress());
        }
    }

    void play(const Event& event) {
        const bool first = !m_session.started();
        m_watcher.before(event, m_session);
        m_session.play(event);
        m_watcher.after(event, m_session);
        if (!m_journal) return;
        if (first) {
            m_journal->begin(m_parser.minified(), m_session);
        } else {
            m_journal->add(m_parser.minified());
        }
    }

    CLineReader& m_reader;
    COutput& m_output;
    IReplayWatcher& m_watcher;
    const bool m_bAnswers;
    CEventParser m_parser;
    CSession m_session;
    std::optional<CJournal> m_journal;
};

}  // namespace

std::string playFile(const std::string& path, const ReplayOptions& options, COutput& output,
                     IReplayWatcher* watcher) {
    IReplayWatcher nobody;
    try {
        CLineReader reader(path);
        if (!options.journal.empty() && overwrites(options.journal, path)) {
            throw InputError("the journal would overwrite it");
        }
        try {
            CFilePlay(reader, options, output, watcher ? *watcher : nobody).run();
        } catch (const LineError& fault) {
            return path + ":" + std::to_string(reader.number()) + ": " + fault.what();
        }
    } catch (const InputError& fault) {
        return path + ": " + fault.what();
    }
    return {};
}

}  // namespace replay
