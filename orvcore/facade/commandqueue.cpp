#include "orvcore/facade/commandqueue.h"

#include <opencv2/core.hpp>

#include <chrono>
#include <new>

#include "zorbase/progress.h"
#include "zorbase/zorexception.h"

OrvCommandQueue::OrvCommandQueue(std::function<void(std::uint64_t)> started, std::function<void()> ended)
    : m_started(std::move(started)), m_ended(std::move(ended)), m_worker([this] { Work(); }) {}

OrvCommandQueue::~OrvCommandQueue() {
    Stop({});
}

void OrvCommandQueue::Push(OrvCommand command) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isStopping) return;
        const auto same = [&command](const OrvCommand& waiting) {
            return waiting.kind == command.kind && waiting.filter == command.filter;
        };
        if (command.kind == OrvCommand::Kind::Settings) {
            std::erase_if(m_waiting, same);
        } else if (command.kind == OrvCommand::Kind::Configure) {
            for (auto waiting = m_waiting.rbegin(); waiting != m_waiting.rend(); ++waiting) {
                if (waiting->kind == OrvCommand::Kind::Slot || waiting->kind == OrvCommand::Kind::Project)
                    break;
                if (!same(*waiting)) continue;
                *waiting = std::move(command);
                return;
            }
        }
        if (command.replacesSlot >= 0 && !m_waiting.empty() &&
            m_waiting.back().replacesSlot == command.replacesSlot)
            m_waiting.pop_back();
        m_waiting.push_back(std::move(command));
    }
    m_changed.notify_all();
}

void OrvCommandQueue::Abort(std::uint64_t work) {
    const std::lock_guard lock(m_mutex);
    if (m_isRunning && (work == 0 || work == m_work)) m_running.request_stop();
}

void OrvCommandQueue::DropConfigure(const OrvFilter* filter, const VecParameter& input,
                                    const VecParameter& post) {
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_waiting, [&](const OrvCommand& waiting) {
            return waiting.kind == OrvCommand::Kind::Configure && waiting.filter == filter &&
                   waiting.input == input && waiting.post == post;
        });
    }
    m_changed.notify_all();
}

bool OrvCommandQueue::WaitIdle(int timeoutMs) {
    std::unique_lock lock(m_mutex);
    const auto idle = [this] { return m_waiting.empty() && !m_isRunning; };
    if (timeoutMs < 0) {
        m_changed.wait(lock, idle);
        return true;
    }
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), idle);
}

bool OrvCommandQueue::IsBusy() const {
    const std::lock_guard lock(m_mutex);
    return m_isRunning || !m_waiting.empty();
}

void OrvCommandQueue::Stop(const std::function<void()>& unblock) {
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        m_running.request_stop();
        std::erase_if(m_waiting, [](const OrvCommand& waiting) {
            return waiting.kind != OrvCommand::Kind::Settings && !waiting.mustRun;
        });
    }
    m_changed.notify_all();
    if (unblock) unblock();
    if (m_worker.joinable()) m_worker.join();
}

void OrvCommandQueue::Work() {
    while (true) {
        OrvCommand command;
        std::stop_token stop;
        std::uint64_t work = 0;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return m_isStopping || !m_waiting.empty(); });
            if (m_waiting.empty()) return;
            command = std::move(m_waiting.front());
            m_waiting.pop_front();
            m_running = std::stop_source();
            stop = m_running.get_token();
            m_isRunning = true;
            work = ++m_work;
        }
        acvResetProgress();
        m_started(work);
        Run(command, OrvJob(stop));
        acvResetProgress();
        m_ended();
        command = OrvCommand();  // what it holds ends before idle is told
        {
            const std::lock_guard lock(m_mutex);
            m_isRunning = false;
        }
        m_changed.notify_all();
    }
}

void OrvCommandQueue::Run(const OrvCommand& command, const OrvJob& job) {
    int error = kErrorFailed;
    std::string message;
    try {
        command.run(job);
        return;
    } catch (const ZorException& exception) {
        error = exception.GetKind() == ZorException::Kind::Aborted ? kErrorAborted : kErrorFailed;
        message = exception.GetMessage();
    } catch (const cv::Exception& exception) {
        message = "Internal error: " + exception.err + " (" + exception.func + ")";
    } catch (const std::bad_alloc&) {
        message = "There is not enough memory for this. Close other programs or use a smaller image.";
    } catch (const std::exception& exception) {
        message = std::string("Internal error: ") + exception.what();
    }
    if (command.fail) command.fail(error, message);
}
