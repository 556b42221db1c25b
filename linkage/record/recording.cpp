#include "linkage/record/recording.h"

#include "common/prefetch.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/raise.h"
#include "platform/log.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>

namespace TC {

namespace {

constexpr char RECORDING[] = "TC::CRecording";
constexpr char NO_MEMORY[] = "there is no memory";
constexpr char PROFITS[] = "profitChanged";
constexpr std::size_t KNOWN_PRICES = 4096;
constexpr std::size_t WRITTEN_BYTES = 1 << 16;
constexpr std::uint64_t FIGURES_BASIS = 0xcbf29ce484222325;
constexpr std::uint64_t FIGURES_PRIME = 0x100000001b3;

constexpr std::size_t AHEAD = 8;

std::size_t slotOf(const vexservice::CPriceData* price) {
    constexpr std::uint64_t GOLDEN = 0x9e3779b97f4a7c15;
    constexpr int BITS = 12;
    static_assert(KNOWN_PRICES == std::size_t{1} << BITS);
    return (reinterpret_cast<std::uintptr_t>(price) * GOLDEN) >> (64 - BITS);
}

}  // namespace

SignalNames signalNames(const CLinkageManager& manager) {
    return {{{&manager.sigStatDataChanged, "statDataChanged"},
             {&manager.sigProfitChanged, PROFITS},
             {&manager.sigStocksChanged, "stocksChanged"},
             {&manager.sigStrategysChanged, "strategysChanged"},
             {&manager.m_sigNewTradingDay, "newTradingDay"},
             {&manager.sigReconciled, "reconciled"},
             {&manager.sigHistoryCleared, "historyCleared"},
             {&manager.sigBalanceChanged, "balanceChanged"}}};
}

void addSignal(TapePart& part, const SignalNames& names, const ITape::Signal& signal) {
    const auto found = std::find_if(names.begin(), names.end(), [&](const auto& known) {
        return known.first == signal.signal;
    });
    const char* const name = found == names.end() ? signal.operation : found->second;
    if (name == PROFITS) return;
    if (signal.values.any()) {
        part.addMark(SignalMark{name, signal.values()});
    } else {
        part.addSignal(name);
    }
}

void addFigures(TapePart& part, std::uint64_t value) {
    auto& marks = part.marks();
    const bool isSum = !marks.empty() && std::holds_alternative<FiguresMark>(marks.back());
    if (!isSum) marks.push_back(FiguresMark{FIGURES_BASIS});
    std::uint64_t& sum = std::get<FiguresMark>(marks.back()).sum;
    sum = (sum ^ value) * FIGURES_PRIME;
}

CRecording::CRecording(const CLinkageManager& manager, const std::string& file,
                       const RecordingOptions& options, const std::string& head, bool waits,
                       std::function<bool()> locked)
    : m_options(options),
      m_signalNames(signalNames(manager)),
      m_bWaits(waits),
      m_prices(KNOWN_PRICES),
      m_queue(options.mostWaiting, !waits),
      m_file(file) {
    hasLock = std::move(locked);
    m_services = m_client.services();
    m_state.running = true;
    m_state.waits = waits;
    m_state.file = file;
    if (!m_file.write(head) || !m_file.flush()) throw std::runtime_error(m_file.fault());
    m_thread = std::thread([this] { write(); });
}

CRecording::~CRecording() { stop(); }

bool CRecording::begin(const std::function<void()>& begun) {
    const std::lock_guard lock(m_stateMutex);
    if (m_nBegun > 0 || !m_bWaits.load() || !m_bRunning.load()) return false;
    begun();
    m_nNext = m_nPlaces.load() + 1;
    m_bPictureDue.store(true);
    m_bWaits.store(false);
    return true;
}

void CRecording::takePicture() {
    if (!m_bPictureDue.exchange(false) || !m_bRunning.load()) return;
    note([&] {
        RecordingPicture picture = m_beginning.picture();
        {
            const std::lock_guard lock(m_stateMutex);
            m_picture = std::move(picture);
            m_state.waits = false;
        }
        m_queue.open();
        m_queue.flush();
    });
}

void CRecording::stop() {
    const std::lock_guard stopping(m_stopMutex);
    if (!m_thread.joinable()) return;
    m_bRunning.store(false);
    m_queue.stop();
    m_thread.join();
    const RecordingState state = this->state();
    const std::uint64_t lost = m_nLost.load();
    if (state.fault.empty() || lost == 0) return;
    LINKAGE_LOG_WARNING(RECORDING, "the recording {0} ended before {1} parts of steps: {2}",
                        state.file, lost, state.fault);
}

RecordingState CRecording::state() const {
    const std::lock_guard lock(m_stateMutex);
    return m_state;
}

// A step must not notice that there is no memory for what is noted of it.
template <class Work>
void CRecording::note(const Work& work) {
    try {
        work();
    } catch (...) {
        end(NO_MEMORY);
    }
}

// --------------------------------------------------------------------------- steps

// A step within a hold has a part, and its place gives it a number as well.
Moment CRecording::begins(CStep& step) {
    TapePart& part = step.part();
    if (part.inHold) {
        place(step);
        part.held = true;
        part.step = 2 * part.place;
        if (m_bPictureDue.load(std::memory_order_relaxed)) takePicture();
    } else {
        part.step = 2 * m_nSteps.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return Moment::ofPlatform();
}

void CRecording::place(CStep& step) {
    TapePart& part = step.part();
    std::unique_lock<std::mutex> waiting;
    if (m_bWaits.load(std::memory_order_acquire)) waiting = std::unique_lock(m_stateMutex);
    if (waiting && m_bWaits.load() && !part.counted) {
        part.counted = true;
        ++m_nBegun;
    }
    part.place = m_nPlaces.fetch_add(1, std::memory_order_relaxed) + 1;
}

void CRecording::holds(CStep& step) {
    TapePart& part = step.part();
    if (part.place != 0) {
        TapePart next;
        next.step = part.step;
        next.first = false;
        next.counted = part.counted;
        next.moment = part.moment;
        next.inHold = part.inHold;
        handOver(std::exchange(part, std::move(next)));
    }
    place(step);
    part.held = true;
    // Behind the place: a step that has none yet does not keep the recording from beginning. Some
    // steps have a lock of their own instead.
    if (m_bPictureDue.load(std::memory_order_relaxed) && hasLock()) takePicture();
}

void CRecording::ends(CStep& step) {
    TapePart& part = step.part();
    if (part.place == 0) place(step);
    part.last = true;
    const bool counted = part.counted;
    handOver(std::move(part));
    if (!counted) return;
    bool rests = false;
    {
        const std::lock_guard lock(m_stateMutex);
        rests = --m_nBegun == 0 && m_bWaits.load();
    }
    if (rests) note([&] { m_beginning.atRest(); });
}

void CRecording::callsBack(CStep& step, TapeInput input) {
    note([&] { step.part().room().unit.callBacks.push_back({step.calls(), std::move(input)}); });
}

// While the recording waits, so that it does not begin between the two.
void CRecording::changesWork(CStep& step) {
    if (m_bWaits.load() && step.part().place == 0) place(step);
}

// Who takes this work must find the step before its own.
void CRecording::leaves(CStep& step) {
    if (step.part().place == 0) place(step);
    step.part().leavesWork = true;
}

void CRecording::raises(CStep& step, unsigned /*call*/, const Signal& signal) {
    note([&] { addSignal(step.part(), m_signalNames, signal); });
}

void CRecording::lacksMemory() { end(NO_MEMORY); }

void CRecording::figures(CStep& step, std::uint64_t value) {
    note([&] { addFigures(step.part(), value); });
}

TapeAnswer CRecording::asks(CStep& step, unsigned call, const TapeQuestion& question,
                            const std::function<TapeAnswer()>& work) {
    TapePart& part = step.part();
    try {
        TapeAnswer answer = work();
        note([&] { part.addAsk({call, question, answer}); });
        return answer;
    } catch (const std::exception& fault) {
        note([&] { part.addAsk({call, question, TapeThrown{fault.what()}}); });
        throw;
    } catch (...) {
        note([&] { part.addAsk({call, question, TapeThrown{}}); });
        throw;
    }
}

ITape::PricePtr CRecording::asksPrice(CStep& step, unsigned call, const QString& key,
                                      const std::function<PricePtr()>& work) {
    TapePart& part = step.part();
    // What is known of prices has the order of the parts only under the lock.
    const bool mayKnow = part.held && !part.counted && call <= TapePart::MOST_CALLS &&
                         m_bRunning.load(std::memory_order_relaxed) && (part.inHold || hasLock());
    if (!mayKnow) return ITape::asksPrice(step, call, key, work);
    PricePtr price;
    try {
        price = work();
    } catch (...) {
        return ITape::asksPrice(step, call, key, []() -> PricePtr { throw; });
    }
    note([&] { notePrice(part, call, key, price); });
    return price;
}

void CRecording::notePrice(TapePart& part, unsigned call, const QString& key,
                           const PricePtr& price) {
    std::unique_ptr<const TapePrice>& known = m_prices[slotOf(price.get())];
    if (!known || known->price != price || known->key != key) {
        auto fresh = std::make_unique<const TapePrice>(TapePrice{price, key, key.toStdString()});
        if (known) part.room().replaced.push_back(std::move(known));
        known = std::move(fresh);
    }
    if (part.price || (part.rest && !part.rest->unit.asks.empty())) {
        part.addAsk({call, {"price", known->about}, price});
        return;
    }
    part.price = known.get();
    part.priceCall = static_cast<std::uint16_t>(call);
}

void CRecording::acts(CStep& step, const TapeMark& act) {
    note([&] { step.part().addMark(act); });
}

// -------------------------------------------------------------------------- writing

void CRecording::handOver(TapePart&& part) {
    if (part.counted) return;
    bool full = false;
    if (m_bRunning.load(std::memory_order_relaxed)) {
        bool added = false;
        note([&] {
            added = m_queue.add(std::move(part), part.inHold || hasLock());
            full = !added;
        });
        if (added) return;
    }
    if (full) end("the disk cannot follow");
    drop(std::move(part));
}

// Parts that still wait may name the prices that this one has replaced.
void CRecording::drop(TapePart&& part) {
    m_nLost.fetch_add(1, std::memory_order_relaxed);
    if (!part.rest || part.rest->replaced.empty()) return;
    const std::lock_guard lock(m_stateMutex);
    part.rest->dropped = std::move(m_pDropped);
    m_pDropped = std::move(part.rest);
}

void CRecording::end(const char* fault) noexcept {
    m_bRunning.store(false);
    try {
        {
            const std::lock_guard lock(m_stateMutex);
            m_state.running = false;
            if (!m_state.fault.empty()) return;
            m_state.fault = fault;
        }
        LINKAGE_LOG_WARNING(RECORDING, "the recording {0} ends: {1}", m_state.file, fault);
    } catch (...) {
        // Nor for this.
    }
}

void CRecording::write() {
    bool stop = false;
    while (!stop) {
        const CPartQueue::Asked asked = m_queue.wait();
        stop = asked.stop;
        if (!beginText()) break;
        m_queue.pass([this](std::span<TapePart> parts) { writeAll(parts); });
        if (asked.flush && !m_file.flush()) end(m_file.fault().c_str());
    }
    writeEnd();
    const std::lock_guard lock(m_stateMutex);
    m_state.running = false;
    m_state.bytes = m_file.bytes();
    // Nothing is in it.
    if (std::exchange(m_state.waits, false)) std::remove(m_state.file.c_str());
}

// Steps may be over before the picture that they come behind is made, and nothing is written where
// there is no memory for it. False: the recording ends without a picture.
bool CRecording::beginText() {
    std::optional<RecordingPicture> picture;
    {
        const std::lock_guard lock(m_stateMutex);
        if (m_state.waits) return false;
        picture.swap(m_picture);
    }
    if (!picture) return true;
    const std::uint64_t next = std::exchange(m_nNext, 0);
    note([&] {
        m_text.begin(*picture);
        m_nNext = next;
    });
    return true;
}

// Behind a part that is lost no other one is written.
void CRecording::writeAll(std::span<TapePart> parts) noexcept {
    try {
        writeParts(parts);
    } catch (...) {
        end(NO_MEMORY);
    }
    const std::lock_guard lock(m_stateMutex);
    m_state.steps += std::exchange(m_nWritten, 0);
    m_state.bytes = m_file.bytes();
}

void CRecording::writeParts(std::span<TapePart> parts) {
    for (std::size_t at = 0; at < parts.size(); ++at) {
        TapePart& part = parts[at];
        prefetch(parts.subspan(at));
        if (part.place != m_nNext) {
            m_early.emplace(part.place, std::move(part));
            continue;
        }
        writePart(part);
        for (auto early = m_early.begin(); early != m_early.end() && early->first == m_nNext;
             early = m_early.erase(early)) {
            writePart(early->second);
        }
    }
    if (!m_file.write(m_text.take())) end(m_file.fault().c_str());
    if (m_options.mostBytes != 0 && m_file.bytes() > m_options.mostBytes) {
        end(FULL);
    }
}

void CRecording::writeEnd() noexcept {
    try {
        m_text.end();
        if (m_file.write(m_text.take()) && m_file.close()) return;
        end(m_file.fault().c_str());
    } catch (...) {
        end(NO_MEMORY);
    }
}

// Whoever took the reports had them in the cache of another processor.
void CRecording::prefetch(std::span<const TapePart> parts) {
    constexpr std::size_t LINE = 64;
    constexpr std::size_t MOST = 6 * LINE;
    if (parts.size() <= 2 * AHEAD) return;
    const auto* const far = reinterpret_cast<const char*>(parts[2 * AHEAD].report.get());
    for (std::size_t line = 0; far && line < MOST; line += LINE) utils::prefetch(far + line);
    const TapePart& near = parts[AHEAD];
    if (near.report) m_text.prefetch(*near.accountKey, *near.report);
}

void CRecording::writePart(TapePart& part) {
    m_nWritten += part.first ? 1 : 0;
    // Most answers are the price that was told last.
    if (part.price && m_text.knowsPrice(part.price->about, part.price->price.get())) {
        part.price = nullptr;
    }
    m_text.add(part.toUnit(m_unit));
    ++m_nNext;
    if (m_text.size() >= WRITTEN_BYTES && !m_file.write(m_text.take())) {
        end(m_file.fault().c_str());
    }
}

}  // namespace TC
