#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

#include "orvcore/model/job.h"
#include "zorbase/parameter.h"

class OrvFilter;

// What a failure is told with: an error of the work, or that it was stopped.
constexpr int kErrorFailed = 1;
constexpr int kErrorAborted = 2;

// One request on its way to the worker.
struct OrvCommand {
    enum class Kind { Configure, Slot, Project, Settings, Other };
    Kind kind = Kind::Other;
    OrvFilter* filter = nullptr;  // of a configure request
    VecParameter input;           // what it asks for
    VecParameter post;
    int replacesSlot = -1;  // a load of this slot: overtakes a load of it that waits at the end of the queue
    bool mustRun = false;   // also carried out when the queue is stopped: the user's work is in it
    std::function<void(const OrvJob&)> run;
    std::function<void(int error, const std::string& message)> fail;  // told when run leaves by exception
};

// The one queue of requests and the one thread that carries them out, in order, one at a time. A waiting
// configure request for the same filter is replaced by a newer one when no slot or project command stands
// between them; a waiting settings request is replaced by any newer one. The public operations may be called
// on any thread and return at once.
class OrvCommandQueue {
  public:
    // started and ended are called on the worker around every command; commands are counted from 1.
    OrvCommandQueue(std::function<void(std::uint64_t work)> started, std::function<void()> ended);
    ~OrvCommandQueue();  // see Stop

    void Push(OrvCommand command);
    // Asks the running command to stop if it is the one of this number (0: whichever runs); waiting ones stay.
    void Abort(std::uint64_t work = 0);
    // Takes back the waiting configure request of this filter for the same values.
    void DropConfigure(const OrvFilter* filter, const VecParameter& input, const VecParameter& post);
    bool WaitIdle(int timeoutMs);
    bool IsBusy() const;
    // Drops what waits (except what must run and settings that are not on disk yet), stops what runs and joins the worker.
    // unblock is called after the order to stop has been given, to release whatever the worker waits for.
    void Stop(const std::function<void()>& unblock);

    // Runs a command here and now; an exception of any kind ends in its fail function, as a text for the
    // user.
    static void Run(const OrvCommand& command, const OrvJob& job);

  private:
    void Work();

    std::function<void(std::uint64_t)> m_started;
    std::function<void()> m_ended;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<OrvCommand> m_waiting;
    std::stop_source m_running;
    std::uint64_t m_work = 0;  // number of the newest command that was begun
    bool m_isRunning = false;
    bool m_isStopping = false;
    std::thread m_worker;
};
