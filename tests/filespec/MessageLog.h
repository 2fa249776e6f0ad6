// Records the numbered messages GSFileSpec sends while an object of this class exists.
#pragma once

#include "gs/filespec/GSFileSpec.h"

#include <string>
#include <utility>
#include <vector>

namespace qmtest {

class MessageLog {
public:
    MessageLog() { GSFileSpec::setErrorMessageHandler(&record, this); }
    ~MessageLog() { GSFileSpec::setErrorMessageHandler(nullptr, nullptr); }
    MessageLog(MessageLog const&) = delete;
    MessageLog& operator=(MessageLog const&) = delete;
    std::vector<std::pair<int, std::string>> messages;

private:
    static void record(int id, GSFileSpec const& spec, void* context)
    {
        static_cast<MessageLog*>(context)->messages.emplace_back(id, spec.getFilename().c_str());
    }
};

inline GSFileSpec specFor(std::string const& path) { return GSFileSpec(GSString(path.c_str())); }

} // namespace qmtest
