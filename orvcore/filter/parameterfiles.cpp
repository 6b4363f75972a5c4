#include "orvcore/filter/parameterfiles.h"

#include <sys/stat.h>

#include <functional>
#include <vector>

#include "orvcore/model/collections.h"
#include "zorbase/files.h"
#include "zorbase/folders.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

std::string Describe(const VecParameter& parameters,
                     const std::function<std::string(const std::string&)>& one) {
    std::string text;
    for (const Parameter& parameter : parameters) {
        const bool isFile =
            parameter.Type() == ParameterType::FileLoad || parameter.Type() == ParameterType::FileLoadImage;
        if (!isFile && parameter.Type() != ParameterType::Folder) continue;
        const std::string path = PathMeantBy(parameter);
        if (path.empty()) continue;
        text += parameter.Name() + ":";
        if (isFile && !FolderExists(path))
            text += one(path) + "\n";
        else
            for (const std::string& file : ListFiles(path)) text += PathName(file) + "=" + one(file) + "\n";
    }
    return text;
}

}  // namespace

std::string StampOfFiles(const VecParameter& parameters) {
    return Describe(parameters, [](const std::string& path) -> std::string {
        struct stat facts {};
        if (stat(path.c_str(), &facts) != 0) return "missing";
        const auto time = [](const timespec& at) {
            return ToString(static_cast<std::int64_t>(at.tv_sec)) + "." +
                   ToString(static_cast<std::int64_t>(at.tv_nsec));
        };
        return ToString(static_cast<std::int64_t>(facts.st_dev)) + " " +
               ToString(static_cast<std::int64_t>(facts.st_ino)) + " " +
               ToString(static_cast<std::int64_t>(facts.st_size)) + " " + time(facts.st_mtim) + " " +
               time(facts.st_ctim);
    });
}

std::string DigestOfFiles(const VecParameter& parameters) {
    return Describe(parameters, [](const std::string& path) -> std::string {
        try {
            return Sha256(ReadFileBytes(path));
        } catch (const ZorException&) {
            return "missing";
        }
    });
}
