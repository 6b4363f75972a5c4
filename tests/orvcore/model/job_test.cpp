#include "orvcore/model/job.h"

#include <gtest/gtest.h>

#include <limits>

#include "zorbase/progress.h"
#include "zorbase/zorexception.h"

namespace {

TEST(Job, PiecesTellTheirPartOfTheWhole) {
    const OrvJob job;
    const OrvJob piece = job.Piece(0.25, 0.75, "files");
    const OrvJob inner = piece.Piece(0.5, 1.0, "page");
    const struct {
        const OrvJob* job;
        double done, told;
        const char *text, *name;
    } rows[] = {{&job, 0.5, 0.5, "reading", "reading"},
                {&job, -1, 0, "", ""},
                {&job, 2, 1, "x", "x"},
                {&piece, 0, 0.25, "", "files"},
                {&piece, 0.5, 0.5, "a.jpg", "files, a.jpg"},
                {&piece, 1, 0.75, "", "files"},
                {&inner, 0, 0.5, "b", "files, page, b"},
                {&inner, 1, 0.75, "", "files, page"},
                {&inner, 0.5, 0.625, "", "files, page"}};
    for (const auto& row : rows) {
        row.job->SetProgress(row.done, row.text);
        EXPECT_DOUBLE_EQ(acvGetProgress(), row.told) << row.name;
        EXPECT_EQ(acvGetProgressString(), row.name);
    }
    piece.Part(0.2, 0.4)(0.5);
    EXPECT_DOUBLE_EQ(acvGetProgress(), 0.25 + 0.5 * 0.3);
    EXPECT_EQ(acvGetProgressString(), "files, page") << "a number alone leaves the text";
    job.Part()(0.125);
    EXPECT_EQ(acvGetProgress(), 0.125);
    job.SetProgress(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(acvGetProgress(), 0);
    acvResetProgress();
}

TEST(Job, EveryWordOfProgressEndsAStoppedOne) {
    std::stop_source source;
    const OrvJob job(source.get_token());
    const OrvJob piece = job.Piece(0, 0.5, "piece");
    EXPECT_NO_THROW(piece.CheckAbort());
    EXPECT_FALSE(piece.IsAborted());
    source.request_stop();
    EXPECT_TRUE(job.IsAborted() && piece.IsAborted());
    const std::function<void()> calls[] = {[&] { job.CheckAbort(); }, [&] { piece.SetProgress(0.5); },
                                           [&] { piece.SetProgress(0.5, "text"); },
                                           [&] { piece.Part()(0.5); }};
    for (const auto& call : calls) {
        try {
            call();
            ADD_FAILURE() << "went on";
        } catch (const ZorException& exception) {
            EXPECT_EQ(exception.GetKind(), ZorException::Kind::Aborted);
            EXPECT_EQ(exception.GetMessage(), "Processing was stopped. What was there before is unchanged.");
        }
    }
}

}  // namespace
