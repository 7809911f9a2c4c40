#pragma once

#include <string>

namespace tour {

/// The name of a file that is not yet what it is to become. It is removed with this object, and
/// where a signal asks the program to end (SIGINT, SIGTERM, SIGHUP). One at a time.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::string& name);
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    const std::string& Name() const { return name_; }

private:
    std::string name_;
};

} // namespace tour
