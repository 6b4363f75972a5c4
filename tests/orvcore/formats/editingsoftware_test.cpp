#include "orvcore/formats/editingsoftware.h"

#include <gtest/gtest.h>

TEST(EditingSoftware, NamesStandAtTheBeginningOfAWord) {
    const std::pair<const char*, bool> rows[] = {
        {"GIMP 2.10", true},    {"gimp", true},          {"The GIMP", true}, {"gimper", false},
        {"agimp", false},       {"agimp gimp", true},    {"Paint 3", true},  {"Painter", false},
        {"paint.net", true},    {"Krita 5", true},       {"kritaish", true}, {"akrita", false},
        {"a krita", true},      {"7krita", true},        {"", false},        {"Camera Firmware 1.0", false},
        {"Photo Editor", true}, {"xphoto editor", false}};
    for (const auto& [text, isEditor] : rows) EXPECT_EQ(IsEditingSoftware(text), isEditor) << text;
}
