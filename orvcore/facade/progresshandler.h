#pragma once

// The core's view of whoever shows progress. Called on the GUI thread only.
class OrvProgressHandler {
  public:
    virtual ~OrvProgressHandler() = default;
    virtual void CreateProgress() = 0;   // a long operation has begun
    virtual void DestroyProgress() = 0;  // it has ended
    virtual bool HasProgress() = 0;
};
