#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/support/testcore.h"

class Project : public CoreTest {
  protected:
    std::string FailureOf(const std::function<void()>& request) {
        sink.seen.clear();
        request();
        EXPECT_TRUE(sink.PumpUntilIdle());
        std::string told;
        for (const TestSink::Seen& event : sink.seen)
            if (event.error != 0) {
                EXPECT_EQ(event.id, OrvEventActionCompleted);
                EXPECT_TRUE(told.empty()) << "one message";
                told = event.text;
            }
        return told;
    }
    std::string LoadProject(const std::string& path) {
        return FailureOf([&] { core->LoadProject(PathToWx(path)); });
    }
    std::string SaveProject(const std::string& path) {
        return FailureOf([&] { core->SaveProject(PathToWx(path)); });
    }
};
