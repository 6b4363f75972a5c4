#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <string>

#include "tests/support/virtualcamera.h"

cv::RNG SeededRandom(std::uint64_t seed, std::uint64_t purpose) {
    // The generator needs well mixed states: neighbouring ones give similar numbers at first.
    std::uint64_t z = seed * 0x9E3779B97F4A7C15ULL + purpose * 0xD1B54A32D192ED03ULL + 0x2545F4914F6CDD1DULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return cv::RNG(z ^ (z >> 31));
}

namespace {

cv::Mat Normal(cv::Size size, cv::RNG& random) {
    cv::Mat noise(size, CV_32F);
    random.fill(noise, cv::RNG::NORMAL, 0.0, 1.0);
    return noise;
}

// Grain with as much contrast in every octave from `finest` to `coarsest` pixels; standard deviation about 1.
cv::Mat Grain(cv::Size size, int finest, int coarsest, cv::RNG& random) {
    cv::Mat sum = cv::Mat::zeros(size, CV_32F);
    int octaves = 0;
    for (int cell = finest; cell <= coarsest; cell *= 2, ++octaves) {
        const cv::Size cells(size.width / cell + 4, size.height / cell + 4);
        cv::Mat layer;
        cv::resize(Normal(cells, random), layer, cells * cell, 0, 0, cv::INTER_CUBIC);
        const cv::Point corner(random.uniform(0, 2 * cell), random.uniform(0, 2 * cell));
        sum += layer(cv::Rect(corner, size));
    }
    return sum * (1.0 / std::sqrt(std::max(octaves, 1) * 0.7));
}

void AddToAll(cv::Mat& scene, const cv::Mat& plane) {
    cv::Mat three;
    cv::merge(std::vector<cv::Mat>(3, plane), three);
    scene += three;
}

cv::Scalar Colour(cv::RNG& random, double lowest, double highest) {
    const double level = random.uniform(lowest, highest);
    const auto channel = [&] { return std::clamp(level + random.gaussian(22.0), lowest, highest); };
    const double blue = channel();
    const double green = channel();
    return {blue, green, channel()};
}

cv::Mat Leaves(cv::Size size, cv::RNG& random) {
    cv::Mat leaves(size, CV_8UC3, Colour(random, 40, 215));
    const double largest = std::min(size.width, size.height) / 5.0;
    const int count = static_cast<int>(size.area() / 150.0) + 20;
    for (int i = 0; i < count; ++i) {
        // Sizes by a power law: as much area in every octave of size.
        const double u = random.uniform(0.0, 1.0);
        const double radius = 3.0 / std::sqrt(1.0 - u * (1.0 - 9.0 / (largest * largest)));
        const cv::Point centre(random.uniform(0, size.width), random.uniform(0, size.height));
        const cv::Size axes(static_cast<int>(radius),
                            std::max(static_cast<int>(radius * random.uniform(0.35, 1.0)), 1));
        cv::ellipse(leaves, centre, axes, random.uniform(0.0, 180.0), 0, 360, Colour(random, 25, 230),
                    cv::FILLED, cv::LINE_AA);
    }
    cv::Mat scene;
    leaves.convertTo(scene, CV_32F);
    AddToAll(scene, Grain(size, 1, 32, random) * 7.0);
    return scene;
}

cv::Mat Sky(cv::Size size, cv::RNG& random) {
    cv::Mat scene(size, CV_32FC3);
    for (int y = 0; y < size.height; ++y) {
        const float t = static_cast<float>(y) / static_cast<float>(size.height);
        scene.row(y).setTo(cv::Scalar(225 - 30 * t, 165 + 35 * t, 110 + 80 * t));
    }
    cv::Mat clouds = Grain(size, 64, 512, random);
    cv::GaussianBlur(clouds, clouds, {}, 12.0);
    AddToAll(scene, clouds * 6.0);
    const int ground = size.height / 5;
    if (ground > 0) {
        const cv::Rect part(0, size.height - ground, size.width, ground);
        Leaves(part.size(), random).copyTo(scene(part));
    }
    return scene;
}

cv::Mat Front(cv::Size size, cv::RNG& random) {
    cv::Mat front(size, CV_8UC3, cv::Scalar(120, 150, 170));
    constexpr int kAcross = 72;
    constexpr int kDown = 96;
    for (int y = 20; y < size.height; y += kDown) {
        for (int x = 16; x < size.width; x += kAcross) {
            cv::rectangle(front, cv::Rect(x - 4, y - 4, 48, 68), {190, 205, 210}, cv::FILLED);
            cv::rectangle(front, cv::Rect(x, y, 40, 60), {70, 55, 45}, cv::FILLED);
            cv::line(front, {x + 20, y}, {x + 20, y + 60}, {200, 200, 200}, 2, cv::LINE_AA);
            cv::line(front, {x, y + 24}, {x + 40, y + 24}, {200, 200, 200}, 2, cv::LINE_AA);
            cv::line(front, {x + 4, y + 20}, {x + 16, y + 4}, {110, 95, 85}, 1, cv::LINE_AA);
        }
        cv::line(front, {0, y - 14}, {size.width, y - 14}, {90, 110, 130}, 2, cv::LINE_AA);
    }
    cv::Mat scene;
    front.convertTo(scene, CV_32F);
    AddToAll(scene, Grain(size, 1, 4, random) * 2.0);
    return scene;
}

cv::Mat Wall(cv::Size size, cv::RNG& random) {
    cv::Mat wall(size, CV_8UC3, cv::Scalar(165, 170, 175));
    for (int y = 0, row = 0; y < size.height; y += 24, ++row) {
        for (int x = (row % 2) * -28; x < size.width; x += 56) {
            cv::rectangle(wall, cv::Rect(x + 2, y + 2, 52, 20), {60, 75, 150}, cv::FILLED);
        }
    }
    cv::Mat scene;
    wall.convertTo(scene, CV_32F);
    AddToAll(scene, Grain(size, 1, 8, random) * 3.0);
    return scene;
}

cv::Mat Page(cv::Size size, cv::RNG& random) {
    cv::Mat page(size, CV_8UC3, cv::Scalar(228, 232, 234));
    for (int y = 40; y < size.height - 10; y += 26) {
        int x = 30;
        while (x < size.width - 60) {
            std::string word;
            for (int letters = random.uniform(2, 10); letters > 0; --letters)
                word += static_cast<char>('a' + random.uniform(0, 26));
            cv::putText(page, word, {x, y}, cv::FONT_HERSHEY_SIMPLEX, 0.6, {35, 30, 30}, 1, cv::LINE_AA);
            x += 12 * static_cast<int>(word.size()) + 14;
        }
    }
    cv::Mat scene;
    page.convertTo(scene, CV_32F);
    AddToAll(scene, Grain(size, 2, 64, random) * 1.0);
    return scene;
}

cv::Mat Night(cv::Size size, cv::RNG& random) {
    cv::Mat scene = Leaves(size, random) * 0.22;
    for (int i = 0; i < 6; ++i) {
        cv::Mat glow = cv::Mat::zeros(size, CV_32F);
        const cv::Point centre(random.uniform(0, size.width), random.uniform(0, size.height));
        const int radius = std::max(std::min(size.width, size.height) / random.uniform(18, 40), 3);
        cv::circle(glow, centre, radius, cv::Scalar(500.0), cv::FILLED);
        cv::GaussianBlur(glow, glow, {}, radius * 0.5);
        AddToAll(scene, glow);
    }
    return scene;
}

cv::Mat Even(cv::Size size) {
    cv::Mat scene(size, CV_32FC3);
    const float cx = static_cast<float>(size.width - 1) / 2;
    const float cy = static_cast<float>(size.height - 1) / 2;
    const float longest = std::max(cx * cx + cy * cy, 1.0F);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const float dx = static_cast<float>(x) - cx;
            const float dy = static_cast<float>(y) - cy;
            scene.at<cv::Vec3f>(y, x) =
                cv::Vec3f::all(160.0F * (1.0F - 0.15F * (dx * dx + dy * dy) / longest));
        }
    }
    return scene;
}

}  // namespace

cv::Mat MakeScene(SceneKind kind, cv::Size size, std::uint64_t seed) {
    cv::RNG random = SeededRandom(seed, 1 + static_cast<std::uint64_t>(kind));
    cv::Mat scene;
    switch (kind) {
        case SceneKind::Textured:
            scene = Leaves(size, random);
            break;
        case SceneKind::SmoothSky:
            scene = Sky(size, random);
            break;
        case SceneKind::Architecture:
            scene = Front(size, random);
            break;
        case SceneKind::Bricks:
            scene = Wall(size, random);
            break;
        case SceneKind::TextPage:
            scene = Page(size, random);
            break;
        case SceneKind::Lamps:
            scene = Night(size, random);
            break;
        case SceneKind::Flat:
            return Even(size);
    }
    // No lens draws edges of no width.
    cv::GaussianBlur(scene, scene, {}, 0.7);
    return cv::max(scene, 0.0);
}
