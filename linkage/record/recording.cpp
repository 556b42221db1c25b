#include "linkage/record/recording.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/raise.h"
#include "platform/log.h"

#include <cstdio>
#include <exception>
#include <utility>

namespace TC {

namespace {

constexpr char RECORDING[] = "TC::CRecording";
constexpr std::size_t WRITTEN_TOGETHER = 1024;
constexpr std::size_t WRITTEN_BYTES = 1 << 16;
constexpr std::uint64_t FIGURES_BASIS = 0xcbf29ce484222325;
constexpr std::uint64_t FIGURES_PRIME = 0x100000001b3;

}  // namespace

std::map<const void*, const char*> signalNames(const CLinkageManager& manager) {
    return {{&manager.m_sigNewTradingDay, "newTradingDay"},
            {&manager.sigProfitChanged, "profitChanged"},
            {&manager.sigStocksChanged, "stocksChanged"},
            {&manager.sigStrategysChanged, "strategysChanged"},
            {&manager.sigStatDataChanged, "statDataChanged"},
            {&manager.sigReconciled, "reconciled"},
            {&manager.sigHistoryCleared, "historyCleared"},
            {&manager.sigBalanceChanged, "balanceChanged"}};
}

void addSignal(TapeUnit& unit, const std::map<const void*, const char*>& names,
               const ITape::Signal& signal) {
    const auto found = names.find(signal.signal);
    const char* const name = found == names.end() ? signal.operation : found->second;
    if (signal.signal && std::string_view(name) == "profitChanged") return;
    unit.marks.push_back(SignalMark{name, signal.values()});
}

void addFigures(TapeUnit& unit, std::uint64_t value) {
    const auto isSum = [&] {
        return !unit.marks.empty() && std::holds_alternative<FiguresMark>(unit.marks.back());
    };
    if (!isSum()) unit.marks.push_back(FiguresMark{FIGURES_BASIS});
    std::uint64_t& sum = std::get<FiguresMark>(unit.marks.back()).sum;
    sum = (sum ^ value) * FIGURES_PRIME;
}

CRecording::CRecording(const CLinkageManager& manager, const std::string& file,
                       const RecordingOptions& options, const std::string& head, bool waits,
                       std::function<bool()> locked)
    : m_options(options), m_signalNames(signalNames(manager)), m_bWaits(waits), m_file(file) {
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
    const std::lock_guard lock(m_mutex);
    if (m_nBegun > 0 || !m_bWaits.load() || !m_bRunning.load()) return false;
    begun();
    m_nNext = m_nPlaces.load() + 1;
    m_bPictureDue.store(true);
    m_bWaits.store(false);
    return true;
}

void CRecording::takePicture() {
    if (!m_bPictureDue.exchange(false) || !m_bRunning.load()) return;
    try {
        RecordingPicture picture = m_beginning.picture();
        const std::lock_guard lock(m_mutex);
        m_picture = std::move(picture);
        m_state.waits = false;
        m_bFlush = true;
    } catch (...) {
        end("there is no memory");
    }
    m_handedOver.notify_one();
}

void CRecording::stop() {
    const std::lock_guard stopping(m_stopMutex);
    {
        const std::lock_guard lock(m_mutex);
        m_bStop = true;
    }
    m_bRunning.store(false);
    m_handedOver.notify_one();
    if (m_thread.joinable()) m_thread.join();
}

void CRecording::flushSoon() {
    {
        const std::lock_guard lock(m_mutex);
        m_bFlush = true;
    }
    m_handedOver.notify_one();
}

RecordingState CRecording::state() const {
    const std::lock_guard lock(m_mutex);
    return m_state;
}

// A step must not notice that there is no memory for what is noted of it.
template <class Work>
void CRecording::note(const Work& work) {
    try {
        work();
    } catch (...) {
        end("there is no memory");
    }
}

// --------------------------------------------------------------------------- steps

Moment CRecording::begins(CStep& step) {
    step.unit().step = m_nSteps.fetch_add(1, std::memory_order_relaxed) + 1;
    return Moment::ofPlatform();
}

void CRecording::place(CStep& step) {
    TapeUnit& unit = step.unit();
    std::unique_lock<std::mutex> waiting;
    if (m_bWaits.load(std::memory_order_relaxed)) waiting = std::unique_lock(m_mutex);
    if (waiting && m_bWaits.load() && !unit.counted) {
        unit.counted = true;
        ++m_nBegun;
    }
    unit.place = m_nPlaces.fetch_add(1, std::memory_order_relaxed) + 1;
}

void CRecording::holds(CStep& step) {
    TapeUnit& unit = step.unit();
    if (unit.place != 0) {
        TapeUnit next;
        next.step = unit.step;
        next.first = false;
        next.counted = unit.counted;
        next.moment = unit.moment;
        handOver(std::exchange(unit, std::move(next)));
    }
    place(step);
    unit.held = true;
    // Some steps have a lock of their own instead.
    if (m_bPictureDue.load(std::memory_order_relaxed) && hasLock()) takePicture();
}

void CRecording::ends(CStep& step) {
    TapeUnit& unit = step.unit();
    if (unit.place == 0) place(step);
    unit.last = true;
    const bool counted = unit.counted;
    handOver(std::move(unit));
    if (!counted) return;
    bool rests = false;
    {
        const std::lock_guard lock(m_mutex);
        rests = --m_nBegun == 0 && m_bWaits.load();
    }
    if (rests) note([&] { m_beginning.atRest(); });
}

void CRecording::callsBack(CStep& step, TapeInput input) {
    note([&] { step.unit().callBacks.push_back({step.calls(), std::move(input)}); });
}

// While the recording waits, so that it does not begin between the two.
void CRecording::changesWork(CStep& step) {
    if (m_bWaits.load() && step.unit().place == 0) place(step);
}

// Who takes this work must find the step before its own.
void CRecording::leaves(CStep& step) {
    if (step.unit().place == 0) place(step);
    step.unit().leavesWork = true;
}

void CRecording::raises(CStep& step, unsigned /*call*/, const Signal& signal) {
    note([&] { addSignal(step.unit(), m_signalNames, signal); });
}

void CRecording::figures(CStep& step, std::uint64_t value) {
    note([&] { addFigures(step.unit(), value); });
}

TapeAnswer CRecording::asks(CStep& step, unsigned call, const TapeQuestion& question,
                            const std::function<TapeAnswer()>& work) {
    std::vector<TapeAsk>& asks = step.unit().asks;
    try {
        TapeAnswer answer = work();
        note([&] { asks.push_back({call, question, answer}); });
        return answer;
    } catch (const std::exception& fault) {
        note([&] { asks.push_back({call, question, TapeThrown{fault.what()}}); });
        throw;
    } catch (...) {
        note([&] { asks.push_back({call, question, TapeThrown{}}); });
        throw;
    }
}

void CRecording::acts(CStep& step, const TapeMark& act) {
    note([&] { step.unit().marks.push_back(act); });
}

// -------------------------------------------------------------------------- writing

void CRecording::handOver(TapeUnit&& unit) {
    if (!m_bRunning.load(std::memory_order_relaxed) || unit.counted) return;
    bool full = false;
    bool many = false;
    note([&] {
        const std::lock_guard lock(m_mutex);
        full = m_units.size() >= m_options.mostWaiting;
        if (!full) m_units.push_back(std::move(unit));
        many = m_units.size() == WRITTEN_TOGETHER;
    });
    if (full) end("the disk cannot follow");
    if (many) m_handedOver.notify_one();
}

void CRecording::end(const char* fault) noexcept {
    m_bRunning.store(false);
    try {
        {
            const std::lock_guard lock(m_mutex);
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
    std::vector<TapeUnit> units;
    bool stop = false;
    while (!stop) {
        bool flush = false;
        std::optional<RecordingPicture> picture;
        {
            std::unique_lock lock(m_mutex);
            // Steps may be over before the picture that they come behind is made.
            m_handedOver.wait(lock, [&] {
                return m_bStop ||
                       (!m_state.waits && (m_bFlush || m_units.size() >= WRITTEN_TOGETHER));
            });
            picture.swap(m_picture);
            units.swap(m_units);
            flush = std::exchange(m_bFlush, false);
            stop = m_bStop;
        }
        try {
            if (picture) m_text.begin(*picture);
            writeUnits(units);
            if (flush && !m_file.flush()) end(m_file.fault().c_str());
        } catch (const std::exception& fault) {
            end(fault.what());
        }
        units.clear();
    }
    m_text.end();
    if (!m_file.write(m_text.take()) || !m_file.close()) end(m_file.fault().c_str());
    const std::lock_guard lock(m_mutex);
    m_state.running = false;
    m_state.bytes = m_file.bytes();
    // Nothing is in it.
    if (std::exchange(m_state.waits, false)) std::remove(m_state.file.c_str());
}

void CRecording::writeUnits(std::vector<TapeUnit>& units) {
    std::uint64_t steps = 0;
    const auto put = [&](TapeUnit& unit) {
        steps += unit.first ? 1 : 0;
        m_text.add(unit);
        ++m_nNext;
        if (m_text.size() >= WRITTEN_BYTES && !m_file.write(m_text.take()))
            end(m_file.fault().c_str());
    };
    for (TapeUnit& unit : units) {
        if (unit.place != m_nNext) {
            m_early.emplace(unit.place, std::move(unit));
            continue;
        }
        put(unit);
        for (auto at = m_early.begin(); at != m_early.end() && at->first == m_nNext;
             at = m_early.erase(at)) {
            put(at->second);
        }
    }
    if (!m_file.write(m_text.take())) end(m_file.fault().c_str());
    if (m_options.mostBytes != 0 && m_file.bytes() > m_options.mostBytes) {
        end("the file has its full size");
    }
    const std::lock_guard lock(m_mutex);
    m_state.steps += steps;
    m_state.bytes = m_file.bytes();
}

}  // namespace TC
