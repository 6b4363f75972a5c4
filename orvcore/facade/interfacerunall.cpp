// The part of the facade that runs every filter in use, one after the other.

#include <algorithm>

#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/model/memorybudget.h"
#include "zorbase/zorexception.h"

void OrvInterface::Private::RunAll(const ReportRequest& asked, const OrvJob& job) {
    if (!asked.analysed[OrvEvidence] && !asked.analysed[OrvReference])
        ZOR_THROW(Argument, "You need to load an evidence image first.");
    const double step = 1.0 / static_cast<double>(std::max<std::size_t>(asked.filters.size(), 1));
    for (std::size_t i = 0; i < asked.filters.size(); ++i) {
        OrvFilter& filter = *asked.filters[i].filter;
        const OrvFilterResult& request = asked.filters[i].request;
        const double done = static_cast<double>(i) * step;
        const OrvJob piece = job.Piece(done, done + step, filter.GetNameUtf8());
        OrvCommand work;
        work.run = [&](const OrvJob& running) {
            running.SetProgress(0.0, {});
            const OrvFilterResultPtr result = Compute(filter, request, running);
            const bool isNew = filter.FindHeld(request) != result;
            if (IsAskedNow(asked.filters[i])) filter.Publish(result);
            if (isNew) KeepFresh(filter, *result);
            ReturnFreeMemory();
        };
        work.fail = [&](int error, const std::string& message) {
            if (error != kErrorAborted && IsAskedNow(asked.filters[i]))
                filter.SetError(filter.GetNameUtf8() + ": " + message);
        };
        OrvCommandQueue::Run(work, piece);
        job.CheckAbort();
    }
}
