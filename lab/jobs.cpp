#include "lab/days.h"

#include <fmt/format.h>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <sstream>
#include <stdexcept>

namespace lab {

namespace {

/// One process that plays a share of the days. It tells how far it is, and in the end its
/// result, in lines of text.
struct Worker {
    pid_t process = -1;
    int pipe = -1;
    std::string text;  ///< of a line that is not whole yet
    long days = 0;
    long violations = 0;
    bool ended = false;
    Result result;
};

std::string linesOf(const Result& result) {
    std::string text =
        fmt::format("result {} {} {} {} {} {} {} {} {}\n", result.days, result.commands,
                    result.uncertain, result.tooMuch, result.firstTooMuch, result.violations,
                    result.growth.kilobytes, result.growth.descriptors, result.measured ? 1 : 0);
    text += "faults";
    for (const long count : result.faults) text += fmt::format(" {}", count);
    text += "\n";
    for (const auto& [ending, count] : result.endings) {
        text += fmt::format("ending {} {}\n", count, ending);
    }
    for (const auto& [seed, what] : result.violated)
        text += fmt::format("seed {} {}\n", seed, what);
    return text + "end\n";
}

void write(int pipe, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(pipe, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) return;
        if (count > 0) done += static_cast<std::size_t>(count);
    }
}

void read(const std::string& line, Worker& worker) {
    std::istringstream in(line);
    std::string kind;
    in >> kind;
    Result& result = worker.result;
    if (kind == "so") {
        in >> worker.days >> worker.violations;
    } else if (kind == "result") {
        in >> result.days >> result.commands >> result.uncertain >> result.tooMuch >>
            result.firstTooMuch >> result.violations >> result.growth.kilobytes >>
            result.growth.descriptors >> result.measured;
    } else if (kind == "faults") {
        for (long& count : result.faults) in >> count;
    } else if (kind == "ending" || kind == "seed") {
        std::uint64_t number = 0;
        std::string text;
        in >> number;
        std::getline(in >> std::ws, text);
        if (kind == "seed") {
            result.violated[number] = text;
        } else {
            result.endings[text] = static_cast<long>(number);
        }
    } else if (kind == "end") {
        worker.ended = true;
    }
}

/// The first of a worker's share.
std::uint64_t seedOf(const RunOptions& options, int job) {
    return options.first + static_cast<std::uint64_t>(job);
}

[[noreturn]] void work(const RunOptions& options, int job, int pipe) {
    try {
        const auto look = [&](const Result& so) {
            write(pipe, fmt::format("so {} {}\n", so.days, so.violations));
        };
        CDays days(options);
        write(pipe, linesOf(days.playAll(seedOf(options, job),
                                         static_cast<std::uint64_t>(options.jobs), look)));
    } catch (const std::exception& fault) {
        fmt::print(stderr, "linkage-lab: {}\n", fault.what());
        std::fflush(nullptr);
        ::_exit(1);
    }
    std::fflush(nullptr);
    ::_exit(0);
}

Worker start(const RunOptions& options, int job) {
    int ends[2];
    if (::pipe(ends) != 0) throw std::runtime_error("no pipe can be made");
    std::fflush(nullptr);
    const pid_t process = ::fork();
    if (process < 0) throw std::runtime_error("no process can be started");
    if (process == 0) {
        ::close(ends[0]);
        work(options, job, ends[1]);
    }
    ::close(ends[1]);
    Worker worker;
    worker.process = process;
    worker.pipe = ends[0];
    return worker;
}

/// False at the end of what the worker says.
bool hear(Worker& worker) {
    char bytes[4096];
    const ssize_t count = ::read(worker.pipe, bytes, sizeof bytes);
    if (count < 0 && errno == EINTR) return true;
    if (count <= 0) return false;
    worker.text.append(bytes, static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = worker.text.find('\n')) != std::string::npos;) {
        read(worker.text.substr(0, end), worker);
        worker.text.erase(0, end + 1);
    }
    return true;
}

void hearAll(std::vector<Worker>& workers, CProgress& progress) {
    std::size_t open = workers.size();
    while (open > 0) {
        std::vector<pollfd> waits;
        waits.reserve(workers.size());
        for (const Worker& worker : workers) waits.push_back({worker.pipe, POLLIN, 0});
        if (::poll(waits.data(), waits.size(), -1) < 0) continue;
        long days = 0;
        long violations = 0;
        for (std::size_t at = 0; at < workers.size(); ++at) {
            Worker& worker = workers[at];
            if (worker.pipe >= 0 && waits[at].revents != 0 && !hear(worker)) {
                ::close(worker.pipe);
                worker.pipe = -1;  // poll() passes it over
                --open;
            }
            days += worker.days;
            violations += worker.violations;
        }
        progress.show(days, violations);
    }
}

/// It tells of each day that is over, so it was at the next one of its share.
void tellDeath(Worker& worker, const RunOptions& options, int job, int status) {
    worker.result = {};
    worker.result.days = worker.days;
    worker.result.violations = worker.violations;
    const std::uint64_t seed = seedOf(options, job) + static_cast<std::uint64_t>(options.jobs) *
                                                          static_cast<std::uint64_t>(worker.days);
    worker.result.died[seed] = WIFSIGNALED(status)
                                   ? fmt::format("signal {}", WTERMSIG(status))
                                   : fmt::format("exit status {}", WEXITSTATUS(status));
}

}  // namespace

Result run(const RunOptions& options) {
    std::vector<Worker> workers;
    workers.reserve(static_cast<std::size_t>(options.jobs));
    CProgress progress(options);
    for (int job = 0; job < options.jobs; ++job) workers.push_back(start(options, job));
    hearAll(workers, progress);
    Result sum;
    for (std::size_t job = 0; job < workers.size(); ++job) {
        Worker& worker = workers[job];
        int status = 0;
        ::waitpid(worker.process, &status, 0);
        if (!worker.ended) tellDeath(worker, options, static_cast<int>(job), status);
        addTo(sum, worker.result);
    }
    sum.seconds = progress.seconds();
    return sum;
}

}  // namespace lab
