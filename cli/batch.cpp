#include "cli/batch.h"

#include "cli/convert.h"
#include "cli/file_error.h"
#include "cli/interrupt.h"
#include "cli/place.h"
#include "cli/plan.h"
#include "cli/report.h"
#include "cli/sound_file.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <numeric>
#include <sched.h>
#include <system_error>
#include <thread>

namespace
{

// Reports go to standard output, unless the samples do.
class Console
{
public:
    Console(const Options& options, bool several)
        : progress(!options.quiet), options_(options), several_(several),
          reports_(options.out_dir.empty() && options.files.back() == "-" ? stderr : stdout)
    {
    }

    void tell(const Report& report)
    {
        const std::lock_guard<std::mutex> lock(terminal());
        progress.clear();
        std::fputs(warnings(report).c_str(), stderr);
        if (options_.json)
            line(summary_json(report));
        else if (!options_.quiet)
            line(label(report.job) + summary(report));
    }

    void tell_skipped(const Job& job)
    {
        const std::lock_guard<std::mutex> lock(terminal());
        progress.clear();
        if (options_.json)
            line(skipped_json(job));
        else if (!options_.quiet)
            line(printable(job.in) + ": skipped, " + printable(job.out) + " exists");
    }

    void tell_failed(const Job& job, const FileError& error)
    {
        const std::lock_guard<std::mutex> lock(terminal());
        progress.clear();
        if (options_.json)
            line(failure_json(job, error.reason()));
        else if (several_ && !options_.quiet)
            line(label(job) + "failed: " + printable(error.reason()));
    }

    void line(const std::string& text)
    {
        errno = 0;
        if (std::fprintf(reports_, "%s\n", text.c_str()) >= 0 && std::fflush(reports_) == 0)
            return;
        if (errno == EPIPE)
            throw ClosedPipe();
        throw FileError("standard output", errno);
    }

    Progress progress;

private:
    std::string label(const Job& job) const { return several_ ? printable(job.in) + ": " : ""; }

    const Options& options_;
    const bool several_;
    std::FILE* reports_;
};

void print_error(const FileError& error)
{
    std::fprintf(stderr, "rsmpl: %s\n", error.what());
}

bool exists(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

// A file's part of the whole, by its length.
std::vector<double> shares(const std::vector<Job>& jobs)
{
    std::vector<double> lengths;
    for (const Job& job : jobs) {
        std::error_code unknown;
        const std::uintmax_t bytes = std::filesystem::file_size(job.in, unknown);
        lengths.push_back(unknown ? 0 : static_cast<double>(bytes));
    }
    const double sum = std::accumulate(lengths.begin(), lengths.end(), 0.0);
    for (double& length : lengths)
        length /= std::max(sum, 1.0);
    return lengths;
}

Report convert_or_fail(const Job& job, const Options& options, Progress& progress, double share)
{
    try {
        return convert(job, options, progress, share);
    } catch (const std::bad_alloc&) {
        throw FileError(job.in, ENOMEM);
    }
}

class Batch
{
public:
    explicit Batch(const Options& options)
        : options_(options), jobs_(plan(options)), shares_(shares(jobs_)), console_(options, true)
    {
    }

    bool run()
    {
        new_file_mode();
        std::vector<std::thread> others;
        try {
            while (others.size() + 1 < workers())
                others.emplace_back([this] { work(); });
        } catch (const std::system_error&) {
            // There are no more threads to be had; fewer do.
        }
        work();
        for (std::thread& other : others)
            other.join();
        if (stopped_by_)
            std::rethrow_exception(stopped_by_);
        tell_all();
        return failures_.empty();
    }

private:
    std::size_t workers() const
    {
        cpu_set_t cores;
        const int count = sched_getaffinity(0, sizeof cores, &cores) == 0 ? CPU_COUNT(&cores) : 1;
        const int wanted = options_.jobs > 0 ? options_.jobs : count;
        return std::min(static_cast<std::size_t>(std::min(wanted, Unfinished::kMost)),
                        jobs_.size());
    }

    // Takes the next file while there is one.
    void work()
    {
        try {
            for (std::size_t i = next_++; i < jobs_.size(); i = next_++)
                convert_file(jobs_[i], shares_[i]);
        } catch (...) { // nobody can be told any more
            next_ = jobs_.size();
            const std::lock_guard<std::mutex> lock(mutex_);
            stopped_by_ = std::current_exception();
        }
    }

    void convert_file(const Job& job, double share)
    {
        if (options_.no_clobber && exists(job.out)) {
            console_.tell_skipped(job);
            ++skipped_;
            return;
        }
        try {
            const Report report = convert_or_fail(job, options_, console_.progress, share);
            console_.tell(report);
            const std::lock_guard<std::mutex> lock(mutex_);
            ++converted_;
            audio_ += static_cast<double>(report.frames_in) / report.stream.in_rate;
        } catch (const FileError& error) {
            console_.tell_failed(job, error);
            const std::lock_guard<std::mutex> lock(mutex_);
            failures_.push_back(error);
        }
    }

    void tell_all()
    {
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count();
        char line[200];
        std::snprintf(line, sizeof line,
                      "converted %d, skipped %d, failed %zu: %.1f s of audio in %.2f s, "
                      "%.0f times real time",
                      converted_, skipped_.load(), failures_.size(), audio_, seconds,
                      audio_ / seconds);
        console_.progress.clear();
        if (!options_.json && !options_.quiet)
            console_.line(line);
        for (const FileError& error : failures_)
            print_error(error);
    }

    const Options& options_;
    const std::vector<Job> jobs_;
    const std::vector<double> shares_;
    Console console_;
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
    std::atomic<std::size_t> next_{0};
    std::atomic<int> skipped_{0};
    std::mutex mutex_; // of what follows
    int converted_ = 0;
    double audio_ = 0; // seconds
    std::vector<FileError> failures_;
    std::exception_ptr stopped_by_;
};

} // namespace

bool convert_one(const Options& options)
{
    const Job job{options.files.front(), options.files.back()};
    Console console(options, false);
    if (options.no_clobber && job.out != "-" && exists(job.out)) {
        console.tell_skipped(job);
        return true;
    }
    try {
        console.tell(convert_or_fail(job, options, console.progress, 1));
        return true;
    } catch (const FileError& error) {
        console.tell_failed(job, error);
        print_error(error);
        return false;
    }
}

bool convert_many(const Options& options)
{
    return Batch(options).run();
}
