#include "orvcore/analysis/parallel.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

std::atomic<int> g_threadsLeft{-1};  // that the system still gives; -1: as many as are asked for

}  // namespace

// In front of the system's own.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument) {
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (g_threadsLeft == 0) return EAGAIN;
    if (g_threadsLeft > 0) --g_threadsLeft;
    return real(thread, attributes, start, argument);
}

namespace {

class Parallel : public testing::TestWithParam<int> {
  protected:
    void SetUp() override { SetAnalysisThreads(GetParam()); }
    void TearDown() override { SetAnalysisThreads(0); }
};

}  // namespace

TEST_P(Parallel, EveryRowIsDoneOnce) {
    const struct {
        int rows, stripRows, strips;
    } cases[] = {{0, 16, 0}, {1, 16, 1}, {16, 16, 1}, {17, 16, 2}, {100, 7, 15}, {5, 0, 5}};
    for (const auto& c : cases) {
        std::vector<std::atomic<int>> seen(static_cast<std::size_t>(c.rows) + 1);
        std::atomic<int> strips{0};
        double last = c.rows ? -1.0 : 1.0;
        ForEachStrip(
            c.rows, c.stripRows, [&](double done) { last = done; },
            [&](int first, int end) {
                ++strips;
                for (int y = first; y < end; ++y) ++seen[static_cast<std::size_t>(y)];
            });
        for (int y = 0; y < c.rows; ++y) EXPECT_EQ(seen[static_cast<std::size_t>(y)], 1) << y;
        EXPECT_EQ(strips, c.strips);
        EXPECT_EQ(last, 1.0);
    }
}

TEST_P(Parallel, FewerThreadsThanAskedForDoItAll) {
    for (const int left : {0, 1, 2}) {
        std::vector<int> seen(200);
        double last = 0.0;
        g_threadsLeft = left;
        EXPECT_NO_THROW(ForEachPiece(
            200, [&](double done) { last = done; },
            [&](int piece) { ++seen[static_cast<std::size_t>(piece)]; }))
            << left;
        g_threadsLeft = -1;
        EXPECT_EQ(seen, std::vector<int>(200, 1)) << left;
        EXPECT_EQ(last, 1.0);
    }
}

TEST_P(Parallel, AFailureOrAnOrderToStopEndsTheWork) {
    EXPECT_THROW(ForEachPiece(1000, {},
                              [](int piece) {
                                  if (piece == 3) throw std::out_of_range("piece");
                              }),
                 std::out_of_range);
    std::atomic<int> begun{0};
    const auto caller = std::this_thread::get_id();
    EXPECT_THROW(ForEachPiece(
                     1000,
                     [&](double done) {
                         EXPECT_EQ(std::this_thread::get_id(), caller);
                         if (begun > 0 && done < 1.0) throw std::runtime_error("stop");
                     },
                     [&](int) {
                         ++begun;
                         std::this_thread::sleep_for(std::chrono::milliseconds(5));
                     }),
                 std::runtime_error);
    EXPECT_LT(begun, 1000);
}

INSTANTIATE_TEST_SUITE_P(Threads, Parallel, testing::Values(1, 2, 8));

TEST(ParallelProgress, APartLiesWithinTheWhole) {
    double seen = -1.0;
    PartOf([&](double done) { seen = done; }, 0.2, 0.6)(0.5);
    EXPECT_DOUBLE_EQ(seen, 0.4);
    EXPECT_FALSE(PartOf({}, 0.0, 1.0));
}
