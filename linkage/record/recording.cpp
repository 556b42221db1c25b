#include "linkage/record/recording.h"

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/raise.h"
#include "platform/log.h"

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
                       const RecordingOptions& options, const std::string& picture,
                       std::function<bool()> locked)
    : m_options(options), m_signalNames(signalNames(manager)), m_file(file) {
    hasLock = std::move(locked);
    m_services = m_client.services();
    m_state.running = true;
    m_state.file = file;
    if (!m_file.write(picture) || !m_file.flush()) throw std::runtime_error(m_file.fault());
    m_thread = std::thread([this] { write(); });
}

CRecording::~CRecording() { stop(); }

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
    step.unit().place = m_nPlaces.fetch_add(1, std::memory_order_relaxed) + 1;
}

void CRecording::holds(CStep& step) {
    TapeUnit& unit = step.unit();
    if (unit.place != 0) {
        TapeUnit next;
        next.step = unit.step;
        next.first = false;
        next.moment = unit.moment;
        handOver(std::exchange(unit, std::move(next)));
    }
    place(step);
    unit.held = true;
}

void CRecording::ends(CStep& step) {
    TapeUnit& unit = step.unit();
    if (unit.place == 0) place(step);
    unit.last = true;
    handOver(std::move(unit));
}

void CRecording::callsBack(CStep& step, TapeInput input) {
    note([&] { step.unit().callBacks.push_back({step.calls(), std::move(input)}); });
}

// Who takes this work must find the step before its own.
bool CRecording::keeps(const Ticket& /*ticket*/, const boost::function<void()>& /*work*/) {
    CStep& step = *CStep::current();
    if (step.unit().place == 0) place(step);
    step.unit().leavesWork = true;
    return false;
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
    if (!m_bRunning.load(std::memory_order_relaxed)) return;
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
        {
            std::unique_lock lock(m_mutex);
            m_handedOver.wait(
                lock, [&] { return m_bStop || m_bFlush || m_units.size() >= WRITTEN_TOGETHER; });
            units.swap(m_units);
            flush = std::exchange(m_bFlush, false);
            stop = m_bStop;
        }
        try {
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
