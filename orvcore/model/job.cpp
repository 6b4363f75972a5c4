#include "orvcore/model/job.h"

#include <algorithm>

#include "zorbase/progress.h"
#include "zorbase/zorexception.h"

void OrvJob::CheckAbort() const {
    if (m_stop.stop_requested())
        ZOR_THROW(Aborted, "Processing was stopped. What was there before is unchanged.");
}

void OrvJob::SetProgress(double done) const {
    CheckAbort();
    acvSetProgress(OfTheWhole(done));
}

void OrvJob::SetProgress(double done, const std::string& text) const {
    CheckAbort();
    acvSetProgress(OfTheWhole(done), WithName(text));
}

std::function<void(double)> OrvJob::Part(double from, double to) const {
    return [this, from, to](double done) { SetProgress(from + (to - from) * done); };
}

OrvJob OrvJob::Piece(double from, double to, const std::string& name) const {
    OrvJob piece(m_stop);
    piece.m_from = OfTheWhole(from);
    piece.m_to = OfTheWhole(to);
    piece.m_name = WithName(name);
    return piece;
}

// The comparison order turns NaN into 0.
double OrvJob::OfTheWhole(double done) const {
    return m_from + (m_to - m_from) * std::min(1.0, std::max(0.0, done));
}

std::string OrvJob::WithName(const std::string& text) const {
    if (m_name.empty() || text.empty()) return m_name + text;
    return m_name + ", " + text;
}
