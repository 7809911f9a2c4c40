#include "unfinished_file.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <system_error>

namespace tour {

namespace {

constexpr int endings[] = {SIGINT, SIGTERM, SIGHUP};

/// For the handler, which may be called at any time.
std::atomic<const char*> nameToRemove = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free);

/// Removes the file, and lets the signal do what it does.
extern "C" void removeAndEnd(int signal) {
    if (const char* const name = nameToRemove)
        unlink(name);
    raise(signal);
}

} // namespace

UnfinishedFile::UnfinishedFile(const std::string& name) : name_(name) {
    nameToRemove = name_.c_str();
    for (const int ending : endings) {
        struct sigaction action = {};
        // What is ignored stays ignored.
        if (sigaction(ending, nullptr, &action) != 0 || action.sa_handler != SIG_DFL)
            continue;
        action.sa_handler = removeAndEnd;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
        sigaction(ending, &action, nullptr);
    }
}

UnfinishedFile::~UnfinishedFile() {
    nameToRemove = nullptr;
    std::error_code ignored;
    std::filesystem::remove(name_, ignored);
}

} // namespace tour
