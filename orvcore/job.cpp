#include "orvcore/job.h"

#include "zorbase/progress.h"
#include "zorbase/zorexception.h"

void OrvJob::CheckAbort() const {
    if (m_stop.stop_requested()) ZOR_THROW(Aborted, "Processing was stopped. The previous result is kept.");
}

void OrvJob::SetProgress(double done) const {
    CheckAbort();
    acvSetProgress(done);
}

void OrvJob::SetProgress(double done, const std::string& text) const {
    CheckAbort();
    acvSetProgress(done, text);
}

std::function<void(double)> OrvJob::Part(double from, double to) const {
    return [this, from, to](double done) { SetProgress(from + (to - from) * done); };
}
