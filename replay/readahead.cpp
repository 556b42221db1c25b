#include "replay/readahead.h"

#include <memory>

namespace replay {

namespace {

/// The parser's next line takes the place of its document, so arguments get one of their own.
void keepArguments(CallEvent& call) {
    if (!call.args) return;
    const std::string text = simdjson::minify(*call.args);
    const auto json = std::make_shared<simdjson::dom::document>();
    simdjson::dom::parser parser;
    call.args = parser.parse_into_document(*json, text.data(), text.size()).value();
    call.json = json;
}

}  // namespace

CReadAhead::CReadAhead(const std::string& path, ReadingOptions options)
    : m_bTexts(options.texts), m_reader(path), m_bAhead(options.ahead && m_reader.isRegular()) {}

CReadAhead::~CReadAhead() = default;

std::size_t CReadAhead::read(ParsedLine& line) {
    std::string_view text;
    if (!m_reader.next(text)) return 0;
    line.event = m_parser.parse(text);
    line.number = m_reader.number();
    line.progress = m_reader.progress();
    if (m_bTexts) line.text = m_parser.minified();
    return text.size();
}

const ParsedLine* CReadAhead::next() {
    if (m_bAhead && m_bBegun) return nextAhead();
    m_bBegun = true;
    return read(m_line) > 0 ? &m_line : nullptr;
}

// ------------------------------------------------------------------------ the thread

void CReadAhead::readAll(const std::stop_token& stop) {
    while (Batch* const batch = freeBatch(stop)) {
        bool ended = false;
        std::exception_ptr fault;
        try {
            ended = !fill(*batch);
        } catch (...) {
            fault = std::current_exception();
            ended = true;
        }
        const std::lock_guard lock(m_mutex);
        if (!batch->empty()) ++m_read;
        m_bEnded = ended;
        m_fault = std::move(fault);
        m_faultNumber = m_reader.number();
        m_changed.notify_one();
        if (ended) return;
    }
}

/// Null: nobody wants any more. When all are full, the thread sleeps until half of them are free,
/// because waking it costs the owner as much as playing some lines.
CReadAhead::Batch* CReadAhead::freeBatch(const std::stop_token& stop) {
    std::unique_lock lock(m_mutex);
    if (m_read - m_returned == BATCHES) {
        m_changed.wait(lock, stop, [this] { return m_read - m_returned <= BATCHES / 2; });
    }
    return stop.stop_requested() ? nullptr : &m_batches[m_read % BATCHES];
}

/// False at the end of the file. At a fault the batch has the lines before it.
bool CReadAhead::fill(Batch& batch) {
    std::size_t bytes = 0;
    while (batch.size() < MOST_LINES && bytes < MOST_BYTES) {
        ParsedLine& line = batch.emplace_back();
        std::size_t size = 0;
        try {
            size = read(line);
            if (auto* const call = std::get_if<CallEvent>(&line.event)) keepArguments(*call);
        } catch (...) {
            batch.pop_back();
            throw;
        }
        if (size == 0) {
            batch.pop_back();
            return false;
        }
        bytes += size;
    }
    return true;
}

// ------------------------------------------------------------------------- the owner

const ParsedLine* CReadAhead::nextAhead() {
    if (!m_thread.joinable()) {
        m_thread = std::jthread([this](const std::stop_token& stop) { readAll(stop); });
    }
    if (m_pPlayed && m_next == m_pPlayed->size()) giveBack();
    if (!m_pPlayed && !takeBatch()) {
        if (!m_fault) return nullptr;
        m_number = m_faultNumber;
        std::rethrow_exception(m_fault);
    }
    const ParsedLine& line = (*m_pPlayed)[m_next++];
    m_number = line.number;
    return &line;
}

/// False: there are no more.
bool CReadAhead::takeBatch() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_read > m_returned || m_bEnded; });
    if (m_read == m_returned) return false;
    m_pPlayed = &m_batches[m_returned % BATCHES];
    m_next = 0;
    return true;
}

void CReadAhead::giveBack() {
    m_pPlayed->clear();
    m_pPlayed = nullptr;
    const std::lock_guard lock(m_mutex);
    ++m_returned;
    if (m_read - m_returned == BATCHES / 2) m_changed.notify_one();
}

}  // namespace replay
