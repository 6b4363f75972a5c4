#include "orvgui/common/opencverrors.h"

#include <wx/translation.h>

#include <opencv2/core/core_c.h>
#include <memory>
#include <opencv2/core.hpp>

#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

struct Texts {
    std::string noMovie = "Apple QuickTime not installed or not supporting this video format.";
    std::string internalError = "Internal error:\n";
    std::string inFile = "\nin file ";
    std::string line = ", line ";
};

std::shared_ptr<const Texts>& CurrentTexts() {
    static auto texts = std::make_shared<const Texts>();
    return texts;
}

int OnOpenCvError(int, const char*, const char* error, const char* sourceFile, int line, void*) {
    const std::string message = OpenCvErrorMessage(error ? error : "", sourceFile ? sourceFile : "", line);
    cvSetErrStatus(CV_StsOk);
    ZOR_THROW(Internal, message);
}

}  // namespace

void InstallOpenCvErrorHandler() {
    auto texts = std::make_shared<Texts>();
    texts->noMovie = FromWx(_("Apple QuickTime not installed or not supporting this video format."));
    texts->internalError = FromWx(_("Internal error:\n"));
    texts->inFile = FromWx(_("\nin file "));
    texts->line = FromWx(_(", line "));
    std::atomic_store(&CurrentTexts(), std::shared_ptr<const Texts>(texts));
    cv::redirectError(OnOpenCvError);
}

std::string OpenCvErrorMessage(const std::string& error, const std::string& sourceFile, int line) {
    const std::shared_ptr<const Texts> texts = std::atomic_load(&CurrentTexts());
    if (error == "invalid Movie handle") return texts->noMovie;
    return texts->internalError + error + texts->inFile + sourceFile + texts->line + ToString(line);
}
