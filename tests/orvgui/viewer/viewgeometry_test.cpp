#include "orvgui/viewer/viewgeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(ZoomSteps, NearestStepAndTies) {
    const auto& percents = DefaultZoomPercents();
    ASSERT_EQ(percents.size(), 31U);
    const struct {
        double percent;
        double expected;  // -1: none
    } cases[] = {
        {100.0, 100.0},     {37.0, 33.3},       {150.0, 200.0},  // half-way: the larger one
        {9600.0, 12800.0},  {5000.0, 6400.0},   {20000.0, -1.0}, {0.0, 0.333},
        {12800.0, 12800.0}, {16000.0, 12800.0}, {16000.5, -1.0}, {std::nan(""), -1.0},
    };
    for (const auto& c : cases) {
        const int id = NearestZoomId(percents, c.percent);
        if (c.expected < 0.0) {
            EXPECT_EQ(id, -1) << c.percent;
        } else {
            ASSERT_GE(id, 0) << c.percent;
            EXPECT_EQ(percents[static_cast<std::size_t>(id)], c.expected) << c.percent;
        }
    }
    EXPECT_EQ(NearestZoomId({}, 100.0), -1);
}

TEST(ZoomSteps, NextAndPrevious) {
    const auto& percents = DefaultZoomPercents();
    EXPECT_DOUBLE_EQ(StepZoom(percents, 0.37, 1), 0.5);
    EXPECT_DOUBLE_EQ(StepZoom(percents, 0.37, -1), 0.25);
    EXPECT_EQ(StepZoom(percents, 128.0, 1), -1.0);
    EXPECT_EQ(StepZoom(percents, 0.00333, -1), -1.0);
    EXPECT_EQ(StepZoom(percents, 200.0, -1), -1.0);  // no step is near enough to count from
    // Up and down through all of them.
    double zoom = percents.front() / 100.0;
    for (std::size_t i = 1; i < percents.size(); ++i) {
        zoom = StepZoom(percents, zoom, 1);
        EXPECT_DOUBLE_EQ(zoom, percents[i] / 100.0);
    }
    for (std::size_t i = percents.size() - 1; i-- > 0;) {
        zoom = StepZoom(percents, zoom, -1);
        EXPECT_DOUBLE_EQ(zoom, percents[i] / 100.0);
    }
}

TEST(ZoomText, WhatIsTaken) {
    const struct {
        const char* text;
        double zoom;  // 0: refused
    } cases[] = {
        {"150", 1.5},   {"150%", 1.5},      {" 66.7 % ", 0.667}, {"1.5x", 1.5},
        {"1.5X", 1.5},  {".5x", 0.5},       {"12800", 128.0},    {"", 0},
        {"%", 0},       {"x", 0},           {"-50", 0},          {"0", 0},
        {"12800.1", 0}, {"1e3", 0},         {"inf", 0},          {"nan", 0},
        {"150%%", 0},   {"0x10", 0},        {"fits", 0},         {"1.5.2", 0},
        {"129x", 0},    {"0.333", 0.00333}, {"0.33", 0},         {"0.001x", 0},
    };
    for (const auto& c : cases) {
        const auto entry = ParseZoomText(c.text, 0.00333, 128.0);
        ASSERT_EQ(entry.has_value(), c.zoom > 0.0) << c.text;
        if (!entry) continue;
        EXPECT_FALSE(entry->fit);
        EXPECT_DOUBLE_EQ(entry->zoom, c.zoom) << c.text;
    }
    for (const char* text : {"fit", "Fit", " FIT "})
        EXPECT_TRUE(ParseZoomText(text, 0.00333, 128.0)->fit) << text;
    // What the field shows can be entered again.
    for (const double percent : DefaultZoomPercents()) {
        EXPECT_NEAR(ParseZoomText(ZoomPercentText(percent / 100.0), 0.00333, 128.0)->zoom, percent / 100.0,
                    1e-5)
            << percent;
    }
}

TEST(SmallImageRule, FitsTheFirstZoomAfterAChange) {
    SmallImageRule rule;
    EXPECT_EQ(rule.Apply({100, 150}, 1.0, 2.0), 2.0);  // the very first small image
    EXPECT_EQ(rule.Apply({100, 150}, 1.0, 2.0), 1.0);
    EXPECT_EQ(rule.Apply({3000, 2000}, 1.0, 0.2), 0.2);
    EXPECT_EQ(rule.Apply({3000, 2000}, 1.0, 0.2), 1.0);
    EXPECT_EQ(rule.Apply({199, 199}, 1.0, 3.0), 3.0);
    EXPECT_EQ(rule.Apply({199, 200}, 1.0, 3.0), 3.0);  // one side of 200 is no longer small
    EXPECT_EQ(rule.Apply({5, 4000}, 1.0, 0.1), 1.0);
}

TEST(Zooming, RateSizeOffset) {
    const struct {
        double zoom;
        int rate;
    } rates[] = {{1.0, 1}, {1.5, 2}, {2.0, 2}, {0.3, 1}, {127.5, 128}, {128.0, 128}, {0.0, 0}};
    for (const auto& r : rates) EXPECT_EQ(ScrollRateForZoom(r.zoom), r.rate) << r.zoom;

    EXPECT_EQ(ZoomedSize({1001, 333}, 0.5, 0.5), (IntPair{500, 166}));
    EXPECT_EQ(ZoomedSize({40000, 100}, 128.0, 64.0), (IntPair{5120000, 6400}));

    const struct {
        IntPair client, image;
        double zoom;
        IntPair offset;
    } offsets[] = {
        {{400, 300}, {100, 150}, 1.0, {150, 75}}, {{500, 500}, {1000, 500}, 0.5, {0, 250}},
        {{500, 500}, {1000, 1000}, 1.0, {0, 0}},  {{101, 101}, {100, 100}, 1.0, {0, 0}},  // half, to even
        {{103, 103}, {100, 100}, 1.0, {2, 2}},    {{400, 300}, {100, 150}, 0.0, {0, 0}},
        {{400, 300}, {100, 150}, -1.0, {0, 0}},
    };
    for (const auto& o : offsets)
        EXPECT_EQ(CentringOffset(o.client, o.image, o.zoom), o.offset) << o.client.x << o.zoom;
    EXPECT_DOUBLE_EQ(FitZoom({500, 500}, {1000, 500}), 0.5);
    EXPECT_EQ(FitZoom({500, 500}, {0, 0}), 0.0);
    // Nothing overflows, whatever the zoom.
    EXPECT_GT(CentringOffset({1000, 1000}, {1, 1}, 1e-300).x, 0);
}

TEST(Zooming, CentreBecomesRelativeScrollPosition) {
    EXPECT_EQ(ScrollForCentre({1000, 800}, {200, 100}, {500, 250}, {1000, 500}), (IntPair{400, 350}));
    EXPECT_EQ(ScrollForCentre({1000, 800}, {200, 100}, {999, 1}, {1000, 500}), (IntPair{799, 1}));
    EXPECT_EQ(ScrollForCentre({0, 0}, {0, 0}, {50, 50}, {100, 100}), (IntPair{0, 0}));
    EXPECT_EQ(ScrollForCentre({2000000000, 1}, {1, 1}, {40000, 0}, {40000, 0}), (IntPair{1999999999, 0}));
}

TEST(Borders, BandsInDevicePixels) {
    // Above and below; the lower band is twice the offset high.
    const auto wide = BorderBands({500, 500}, {1000, 500}, {0, 250}, 0.5);
    ASSERT_EQ(wide.size(), 2U);
    EXPECT_EQ(wide[0], (IntRect{0, 375, 500, 250}));
    EXPECT_EQ(wide[1], (IntRect{0, 0, 500, 125}));
    const auto small = BorderBands({400, 300}, {100, 150}, {150, 75}, 1.0);
    ASSERT_EQ(small.size(), 4U);
    EXPECT_EQ(small[2], (IntRect{0, 0, 150, 300}));
    EXPECT_EQ(small[3], (IntRect{250, 0, 300, 300}));
    EXPECT_TRUE(BorderBands({400, 300}, {1000, 1500}, {0, 0}, 1.0).empty());
    EXPECT_TRUE(BorderBands({400, 300}, {100, 100}, {10, 10}, 0.0).empty());
}

TEST(Borders, APatternedLineIsCutToWhatIsSeen) {
    const struct {
        LineSpan line, seen, rest;
    } cases[] = {
        {{10, 90}, {0, 100}, {10, 90}},
        {{10, 900}, {0, 100}, {10, 100}},
        {{-1001, 50}, {0, 100}, {-1, 50}},  // a whole number of periods later
        {{-512000, 512000}, {-4, 1004}, {-4, 1004}},
        {{-50, -10}, {0, 100}, {-2, -10}},  // ends before it begins: nothing is seen
    };
    for (const auto& c : cases) EXPECT_EQ(ClipPatternedLine(c.line, c.seen, 4.0), c.rest) << c.line.begin;
}

TEST(Coordinates, WindowPointToImagePoint) {
    EXPECT_EQ(ImagePointAt({200, 100}, {0, 0}, 1.0, {150, 75}), (IntPair{50, 25}));
    EXPECT_EQ(ImagePointAt({0, 0}, {0, 0}, 1.0, {150, 75}), (IntPair{-150, -75}));
    EXPECT_EQ(ImagePointAt({7, 9}, {16, 32}, 8.0, {0, 0}), (IntPair{2, 5}));
    EXPECT_EQ(ImagePointAt({10, 10}, {5, 0}, 0.1, {0, 0}), (IntPair{150, 100}));
    EXPECT_EQ(ImagePointAt({10, 10}, {5, 0}, 0.0, {0, 0}), (IntPair{0, 0}));
}

TEST(Coordinates, ClippingIncludesTheFarEdge) {
    const struct {
        IntPair point, expected;
        bool moved;
    } cases[] = {
        {{-3, 10}, {0, 10}, true}, {{100, 50}, {100, 50}, false}, {{101, 51}, {100, 50}, true},
        {{0, 0}, {0, 0}, false},   {{5, -1}, {5, 0}, true},
    };
    for (const auto& c : cases) {
        IntPair point = c.point;
        EXPECT_EQ(ClipPoint(point.x, point.y, {100, 50}), c.moved) << c.point.x;
        EXPECT_EQ(point, c.expected);
    }
    EXPECT_FALSE(IsPixel({100, 49}, {100, 50}));
    EXPECT_TRUE(IsPixel({99, 49}, {100, 50}));
}

TEST(Painting, EveryDevicePixelShowsThePixelUnderItsCentre) {
    // The pixels of the range, and only they, lie on the image; together they show every pixel once zoom is 1 or more.
    for (const double zoom : {0.1, 0.37, 0.5, 1.0, 1.37, 2.0, 5.0}) {
        for (const int offset : {0, 3, 17}) {
            const int length = 23;
            const DeviceRange range = PaintedRange(offset, length, zoom);
            int previous = -1;
            for (int device = range.begin; device < range.end; ++device) {
                const double centre = (device + 0.5) / zoom - offset;
                EXPECT_GT(centre, -1e-9);
                EXPECT_LT(centre, length + 1e-9);
                const int pixel = PixelUnderDevice(device, offset, length, zoom);
                EXPECT_NEAR(pixel + 0.5, centre, 0.5 + 1e-9);
                if (zoom >= 1.0) {
                    EXPECT_TRUE(pixel == previous || pixel == previous + 1) << zoom << ' ' << device;
                }
                previous = pixel;
            }
            if (zoom >= 1.0) {
                EXPECT_EQ(previous, length - 1);
            }
            EXPECT_LT((range.begin - 0.5) / zoom - offset, 1e-9);
            EXPECT_GT((range.end + 0.5) / zoom - offset, length - 1e-9);
        }
    }
}

TEST(Navigator, Sizes) {
    EXPECT_EQ(NavigatorSize({4000, 3000}), (IntPair{120, 90}));
    EXPECT_EQ(NavigatorSize({1000, 1}), (IntPair{120, 0}));
    EXPECT_EQ(NavigatorSize({0, 0}), (IntPair{0, 0}));
    EXPECT_EQ(NavigatorSize({48, 1}), (IntPair{120, 2}));  // 2.5, to even
    EXPECT_EQ(NavigatorWindowSize({1, 30000}).x, 120);
    EXPECT_LE(NavigatorWindowSize({1, 30000}).y, 240);
    EXPECT_EQ(NavigatorWindowSize({1000, 1}), (IntPair{120, 1}));
}

TEST(Navigator, MarksTheVisiblePart) {
    ShownView view;
    view.image = {4000, 3000};
    view.client = {400, 300};
    view.zoom = 1.0;
    view.viewStart = {1000, 1500};
    const auto mark = MarkOnNavigator(view, {120, 90});
    ASSERT_TRUE(mark);
    EXPECT_EQ(mark->left, 30);
    EXPECT_EQ(mark->right, 42);
    EXPECT_EQ(mark->top, 45);
    EXPECT_EQ(mark->bottom, 54);
    EXPECT_TRUE(mark->Contains(42, 54));
    EXPECT_FALSE(mark->Contains(43, 54));

    view.zoom = 0.1;  // fits
    EXPECT_FALSE(MarkOnNavigator(view, {120, 90}));
    view.zoom = 0.1009;  // within 0.001 of it
    EXPECT_FALSE(MarkOnNavigator(view, {120, 90}));
    view.zoom = 0.2;
    view.viewStart = {100, 0};  // screen pixels below 100 %
    const auto half = MarkOnNavigator(view, {120, 90});
    ASSERT_TRUE(half);
    EXPECT_EQ(half->left, 15);
    EXPECT_EQ(half->right, 75);
    view.viewStart = {400, 300};
    EXPECT_EQ(MarkOnNavigator(view, {120, 90})->right, 119);  // never past the last pixel
    view.image = {0, 0};
    EXPECT_FALSE(MarkOnNavigator(view, {120, 90}));
}

TEST(Navigator, PressedPointBecomesTheCentre) {
    ShownView view;
    view.image = {4000, 3000};
    view.client = {400, 300};
    const struct {
        double zoom;
        int rate;
    } zooms[] = {{0.25, 1}, {0.7, 1}, {1.0, 1}, {1.5, 2}, {4.0, 4}, {16.0, 16}};
    for (const auto& z : zooms) {
        view.zoom = z.zoom;
        view.scrollRate = z.rate;
        const IntPair scroll = ScrollForNavigatorPoint(view, {120, 90}, {60, 45});
        // The image's centre in device pixels, seen from the view's start, is the client's centre to a scroll unit.
        EXPECT_NEAR(2000 * z.zoom - scroll.x * z.rate, 200.0, z.rate + z.zoom) << z.zoom;
        EXPECT_NEAR(1500 * z.zoom - scroll.y * z.rate, 150.0, z.rate + z.zoom) << z.zoom;
    }
    EXPECT_EQ(ScrollForNavigatorPoint(view, {120, 90}, {0, 0}), (IntPair{0, 0}));
    EXPECT_EQ(ScrollForNavigatorPoint(view, {120, 0}, {5, 5}).y, 0);
}

TEST(SharedRecord, BeginsAnewWithNothingChosen) {
    WindowProperties shared;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(shared.zoom, -1.0);
        EXPECT_EQ(shared.zoomUpperLimit, 128.0);
        EXPECT_FALSE(shared.IsZoomAccepted(1.0));
        EXPECT_EQ(shared.imageSize, IntPair());
        EXPECT_EQ(shared.previousImageSize, IntPair());
        EXPECT_EQ(shared.offset, IntPair());
        EXPECT_EQ(shared.zoomCentre, IntPair());
        EXPECT_EQ(shared.scrollPosition, IntPair());
        EXPECT_EQ(shared.splitMode, -1);
        EXPECT_EQ(shared.viewChoiceCount, -1);
        EXPECT_FALSE(shared.syncViews);
        const int rate = shared.scrollRate;
        shared.SetZoomMinMax();
        shared.SetImageSize(3, 4);
        shared.SetImageSize(5, 6);
        shared.zoom = 2.0;
        shared.offset = shared.zoomCentre = shared.scrollPosition = {7, 8};
        shared.splitMode = shared.viewChoiceCount = 3;
        shared.scrollRate = 9;
        shared.syncViews = true;
        shared.Init();
        EXPECT_EQ(shared.scrollRate, rate);
    }
}

TEST(SharedRecord, LimitsAndSizes) {
    WindowProperties shared;
    EXPECT_EQ(shared.zoom, -1.0);
    EXPECT_FALSE(shared.IsZoomAccepted(1.0));
    shared.SetZoomMinMax();
    EXPECT_TRUE(shared.IsZoomAccepted(0.0));
    EXPECT_TRUE(shared.IsZoomAccepted(128.0));
    EXPECT_FALSE(shared.IsZoomAccepted(128.000001));
    EXPECT_FALSE(shared.IsZoomAccepted(std::nan("")));
    EXPECT_FALSE(shared.IsImageSizeChanged());
    shared.SetImageSize(100, 50);
    EXPECT_TRUE(shared.IsImageSizeChanged());
    shared.SetImageSize(100, 50);
    EXPECT_FALSE(shared.IsImageSizeChanged());
    shared.SetImageSize(100, 51);
    EXPECT_TRUE(shared.IsImageSizeChanged());
    shared.verticalRatio = 2.0;
    EXPECT_EQ(shared.VerticalZoom(3.0), 1.5);
    shared.verticalRatio = 0.0;
    EXPECT_EQ(shared.VerticalZoom(3.0), 3.0);
}
