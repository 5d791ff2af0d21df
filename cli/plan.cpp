#include "cli/plan.h"

#include "cli/file_error.h"
#include "cli/output.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <set>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;

fs::path normal(const std::string& path)
{
    return fs::absolute(path).lexically_normal();
}

// The deepest folder that holds all.
fs::path common_root(const std::vector<std::string>& files)
{
    fs::path root = normal(files.front()).parent_path();
    for (const std::string& file : files) {
        const fs::path folder = normal(file).parent_path();
        const auto ends = std::mismatch(root.begin(), root.end(), folder.begin(), folder.end());
        fs::path shared;
        std::for_each(root.begin(), ends.first,
                      [&shared](const fs::path& part) { shared /= part; });
        root = shared;
    }
    return root;
}

fs::path below(const fs::path& root, const std::string& file)
{
    fs::path path = normal(file).lexically_relative(root);
    if (path.empty() || *path.begin() == "..")
        throw FileError(file,
                        "lies outside of " + printable(root.string()) + ", which --root names");
    return path;
}

void check_out_dir(const std::string& folder)
{
    std::error_code error;
    if (fs::is_directory(folder, error))
        return;
    if (fs::exists(folder, error))
        throw FileError(folder, ENOTDIR);
    throw FileError(folder, "no such folder; create it first");
}

// Whatever names lead to it.
using Identity = std::pair<dev_t, ino_t>;

void check_apart(const std::vector<Job>& jobs)
{
    std::map<std::string, const Job*> outputs;
    std::set<Identity> inputs;
    struct stat status;
    for (const Job& job : jobs) {
        const auto [other, is_new] = outputs.emplace(job.out, &job);
        if (!is_new)
            throw FileError(job.in, "would be written to " + printable(job.out) +
                                        ", and so would " + printable(other->second->in));
        if (stat(job.in.c_str(), &status) == 0)
            inputs.emplace(status.st_dev, status.st_ino);
    }
    for (const Job& job : jobs)
        if (stat(job.out.c_str(), &status) == 0 &&
            inputs.count({status.st_dev, status.st_ino}) != 0)
            throw FileError(job.out, "this output is an input, too");
}

} // namespace

std::vector<Job> plan(const Options& options)
{
    check_out_dir(options.out_dir);
    const fs::path root = options.root.empty() ? common_root(options.files)
                                               : normal(options.root + "/.").parent_path();
    std::vector<Job> jobs;
    for (const std::string& file : options.files) {
        if (file == "-")
            throw FileError("standard input", "can't be one of many files");
        fs::path out = options.out_dir / below(root, file);
        out.replace_extension(suffix_of(options.format.value_or(Format::kWav)));
        jobs.push_back({file, out.string(), true});
    }
    check_apart(jobs);
    return jobs;
}
