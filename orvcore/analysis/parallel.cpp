#include "orvcore/analysis/parallel.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {

constexpr int kMaximumThreads = 8;
constexpr std::chrono::milliseconds kBetweenReports{20};

std::atomic<int> g_threads{0};

// Pieces of one call, handed out in order.
class Pieces {
  public:
    Pieces(int count, const std::function<void(int)>& work) : m_count(count), m_work(work) {}

    void Run(int threads, const AnalysisProgress& progress) {
        std::exception_ptr stopped;
        {
            m_running = threads;
            std::vector<std::jthread> workers;
            try {
                while (static_cast<int>(workers.size()) < threads) workers.emplace_back([this] { Work(); });
            } catch (const std::system_error&) {
                // The system gives no more of them: those that there are do it all, or this one.
                const std::scoped_lock lock(m_mutex);
                m_running -= threads - std::max(static_cast<int>(workers.size()), 1);
            }
            if (workers.empty()) Work();
            std::unique_lock lock(m_mutex);
            while (!m_changed.wait_for(lock, kBetweenReports, [this] { return m_running == 0; })) {
                if (!progress || m_failure || stopped) continue;
                const double done = static_cast<double>(m_done) / m_count;
                lock.unlock();
                try {
                    progress(done);
                } catch (...) {
                    stopped = std::current_exception();
                    m_next = m_count;
                }
                lock.lock();
            }
        }
        if (stopped) std::rethrow_exception(stopped);
        if (m_failure) std::rethrow_exception(m_failure);
    }

  private:
    void Work() {
        for (int piece = m_next++; piece < m_count; piece = m_next++) {
            try {
                m_work(piece);
            } catch (...) {
                const std::scoped_lock lock(m_mutex);
                if (!m_failure) m_failure = std::current_exception();
                m_next = m_count;
            }
            const std::scoped_lock lock(m_mutex);
            ++m_done;
        }
        const std::scoped_lock lock(m_mutex);
        if (--m_running == 0) m_changed.notify_all();
    }

    const int m_count;
    const std::function<void(int)>& m_work;
    std::atomic<int> m_next{0};
    std::mutex m_mutex;  // guards what follows
    std::condition_variable m_changed;
    int m_running = 0;
    int m_done = 0;
    std::exception_ptr m_failure;
};

}  // namespace

int GetAnalysisThreads() {
    if (const int set = g_threads) return set;
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMaximumThreads);
}

void SetAnalysisThreads(int threads) {
    g_threads = std::max(threads, 0);
}

void ForEachPiece(int count, const AnalysisProgress& progress, const std::function<void(int piece)>& work) {
    if (count <= 0) return;
    if (progress) progress(0.0);
    Pieces(count, work).Run(std::min(GetAnalysisThreads(), count), progress);
    if (progress) progress(1.0);
}

void ForEachStrip(int rows, int stripRows, const AnalysisProgress& progress,
                  const std::function<void(int firstRow, int endRow)>& work) {
    const int height = std::max(stripRows, 1);
    ForEachPiece(rows / height + (rows % height > 0), progress, [&](int strip) {
        const int first = strip * height;
        work(first, std::min(first + height, rows));
    });
}

AnalysisProgress PartOf(const AnalysisProgress& progress, double from, double to) {
    if (!progress) return {};
    return [progress, from, to](double done) { progress(from + (to - from) * done); };
}
