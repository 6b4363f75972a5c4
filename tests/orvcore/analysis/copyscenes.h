#pragma once

#include <cstdint>
#include <opencv2/imgproc.hpp>

// Scenes for the searches for copies and for registration: irregular ones as photographs are, and those that repeat by nature.

// Something like a photograph: detail of all scales in which no two places are alike, and noise. B, G, R of 8 bits.
inline cv::Mat CopyScene(int width, int height, std::uint64_t seed) {
    cv::RNG random(seed * 7919 + 1);
    cv::Mat sum(height, width, CV_32FC3, cv::Scalar::all(120));
    for (double sigma = 1.2; sigma < 50.0; sigma *= 2.2) {
        cv::Mat layer(height, width, CV_32FC3);
        random.fill(layer, cv::RNG::NORMAL, 0.0, 22.0 * sigma);
        cv::GaussianBlur(layer, layer, cv::Size(), sigma);
        sum += layer;
    }
    cv::Mat noise(height, width, CV_32FC3);
    random.fill(noise, cv::RNG::NORMAL, 0.0, 2.0);
    sum += noise;
    cv::Mat picture;
    sum.convertTo(picture, CV_8U);
    return picture;
}

// A disc of that radius about `from`, turned clockwise as seen and scaled, put about `to`.
inline void PasteTurned(cv::Mat& picture, const cv::Point& from, const cv::Point& to, int radius,
                        double degrees, double scale) {
    cv::Mat model = cv::getRotationMatrix2D(cv::Point2f(from), -degrees, scale);
    model.at<double>(0, 2) += to.x - from.x;
    model.at<double>(1, 2) += to.y - from.y;
    cv::Mat turned;
    cv::warpAffine(picture, turned, model, picture.size(), cv::INTER_CUBIC, cv::BORDER_REFLECT);
    cv::Mat disc = cv::Mat::zeros(picture.size(), CV_8U);
    cv::circle(disc, to, cvRound(radius * scale), cv::Scalar(255), cv::FILLED);
    turned.copyTo(picture, disc);
}

inline void AddNoise(cv::Mat& picture, double deviation, std::uint64_t seed) {
    cv::Mat noise(picture.size(), CV_16SC3);
    cv::RNG(seed).fill(noise, cv::RNG::NORMAL, 0.0, deviation);
    cv::add(picture, noise, picture, cv::noArray(), CV_8U);
}

// Bricks that are all alike, lit from one side, with the sensor's noise.
inline cv::Mat BrickWall(int width, int height, double noise) {
    cv::Mat brick = CopyScene(58, 26, 99);
    brick.convertTo(brick, -1, 0.4, 60.0);
    cv::Mat wall(height, width, CV_8UC3, cv::Scalar(170, 175, 180));
    for (int row = 0; row * 32 < height; ++row) {
        for (int x = row % 2 == 0 ? 0 : -32; x < width; x += 64) {
            const cv::Rect place = cv::Rect(x, row * 32, 58, 26) & cv::Rect(0, 0, width, height);
            if (!place.empty())
                brick(cv::Rect(place.x - x, 0, place.width, place.height)).copyTo(wall(place));
        }
    }
    if (noise > 0) AddNoise(wall, noise, 5);
    return wall;
}

// Windows at even distances on a plastered wall.
inline cv::Mat Facade(int width, int height) {
    cv::Mat wall = CopyScene(width, height, 98);
    wall.convertTo(wall, -1, 0.15, 140.0);
    for (int y = 30; y + 80 < height; y += 130) {
        for (int x = 25; x + 60 < width; x += 97) {
            cv::rectangle(wall, cv::Rect(x, y, 60, 80), cv::Scalar(240, 240, 240), cv::FILLED);
            cv::rectangle(wall, cv::Rect(x + 5, y + 5, 50, 70), cv::Scalar(90, 70, 50), cv::FILLED);
            cv::line(wall, {x + 30, y}, {x + 30, y + 80}, cv::Scalar(240, 240, 240), 4);
            cv::line(wall, {x, y + 30}, {x + 60, y + 30}, cv::Scalar(240, 240, 240), 4);
            cv::circle(wall, {x + 40, y + 55}, 8, cv::Scalar(60, 120, 160), cv::FILLED, cv::LINE_AA);
        }
    }
    AddNoise(wall, 1.5, 6);
    return wall;
}

inline cv::Mat TextPage(int width, int height) {
    cv::Mat page(height, width, CV_8UC3, cv::Scalar(243, 246, 247));
    const char* const lines[] = {
        "the evidence was seized on the third of", "march and the seal of the exhibit was",
        "broken in the presence of both experts", "whose reports are annexed to the file",
        "the court heard the first of them at the"};
    int line = 0;
    for (int y = 40; y < height; y += 34, ++line)
        cv::putText(page, lines[line % 5], {30, y}, cv::FONT_HERSHEY_COMPLEX, 0.9, cv::Scalar(30, 25, 25), 1,
                    cv::LINE_AA);
    return page;
}

inline cv::Mat Stripes(int width, int height) {
    cv::Mat picture(height, width, CV_8UC3);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.at<cv::Vec3b>(y, x) =
                (2 * x + y) / 40 % 2 == 0 ? cv::Vec3b(60, 80, 90) : cv::Vec3b(180, 190, 170);
    cv::GaussianBlur(picture, picture, cv::Size(), 1.0);
    AddNoise(picture, 2.0, 7);
    return picture;
}

inline cv::Mat PureNoise(int width, int height) {
    cv::Mat picture(height, width, CV_8UC3);
    cv::RNG(8).fill(picture, cv::RNG::UNIFORM, 0, 256);
    return picture;
}

inline cv::Mat SmoothSky(int width, int height) {
    cv::Mat picture(height, width, CV_8UC3);
    for (int y = 0; y < height; ++y)
        picture.row(y).setTo(cv::Scalar(220 - y / 8, 170 - y / 10, 120 - y / 16));
    AddNoise(picture, 1.0, 9);
    return picture;
}
