// Renders the sample pictures: one scene, seen by four cameras that stand around it.
//
//     render-samples [FOLDER]    writes angle-1.png to angle-4.png there
//
// In the middle stands a tower with a number and an upward arrow on each side, so that every
// picture says which angle it is and which way is up. No random numbers are drawn: all pixels share
// one well-spread set of samples, which leaves no noise and makes every run give the same pictures.

#include <png.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <numbers>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kWidth = 960;
constexpr int kHeight = 540;
constexpr int kSamples = 160;
constexpr int kMaxBounces = 3;
constexpr float kFar = std::numeric_limits<float>::max();
constexpr float kPi = std::numbers::pi_v<float>;

// ---------------------------------------------------------------------------------------------
// Vectors; colours are vectors of linear light

struct Vector {
    float x = 0;
    float y = 0;
    float z = 0;

    friend Vector operator+(Vector a, Vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend Vector operator-(Vector a, Vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend Vector operator*(Vector a, Vector b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
    friend Vector operator*(Vector a, float f) { return {a.x * f, a.y * f, a.z * f}; }
};

float Dot(Vector a, Vector b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector Cross(Vector a, Vector b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vector Normalized(Vector v) {
    return v * (1 / std::sqrt(Dot(v, v)));
}

Vector Mix(Vector a, Vector b, float inShare) {
    return a * (1 - inShare) + b * inShare;
}

float SmoothStep(float inFrom, float inTo, float inValue) {
    const float t = std::clamp((inValue - inFrom) / (inTo - inFrom), 0.0F, 1.0F);
    return t * t * (3 - 2 * t);
}

/// Two directions that make a right-handed system with a third.
struct Basis {
    Vector u;
    Vector v;
};

Basis BasisAround(Vector inNormal) {
    const Vector helper = std::abs(inNormal.y) < 0.9F ? Vector{0, 1, 0} : Vector{1, 0, 0};
    const Vector u = Normalized(Cross(helper, inNormal));
    return {u, Cross(inNormal, u)};
}

// ---------------------------------------------------------------------------------------------
// Samples

/// What one sample of a pixel takes: a place in the pixel, in the light and in the sky.
struct Sample {
    float pixelX;
    float pixelY;
    float lightU;
    float lightV;
    float skyU;
    float skyV;
};

/// The additive recurrence of the six-dimensional generalised golden ratio, which fills the cube
/// more evenly than random points do.
std::vector<Sample> MakeSamples() {
    double ratio = 2;
    for (int i = 0; i < 60; ++i)
        ratio = std::pow(1 + ratio, 1.0 / 7);
    const auto coordinate = [ratio](int inIndex, int inAxis) {
        const double value = 0.5 + inIndex * std::pow(1 / ratio, inAxis);
        return static_cast<float>(value - std::floor(value));
    };
    std::vector<Sample> samples;
    for (int i = 0; i < kSamples; ++i) {
        samples.push_back({coordinate(i, 1), coordinate(i, 2), coordinate(i, 3), coordinate(i, 4),
                           coordinate(i, 5), coordinate(i, 6)});
    }
    return samples;
}

// ---------------------------------------------------------------------------------------------
// The drawing on the tower: strokes with round ends, in a square from (-1, -1) to (1, 1)

struct Stroke {
    float fromX;
    float fromY;
    float toX;
    float toY;
};

float DistanceToStroke(const Stroke& inStroke, float inX, float inY) {
    const float dx = inStroke.toX - inStroke.fromX;
    const float dy = inStroke.toY - inStroke.fromY;
    const float along =
        ((inX - inStroke.fromX) * dx + (inY - inStroke.fromY) * dy) / (dx * dx + dy * dy);
    const float t = std::clamp(along, 0.0F, 1.0F);
    return std::hypot(inX - inStroke.fromX - t * dx, inY - inStroke.fromY - t * dy);
}

bool IsInked(const std::vector<Stroke>& inStrokes, float inX, float inY, float inRadius) {
    return std::any_of(inStrokes.begin(), inStrokes.end(), [&](const Stroke& stroke) {
        return DistanceToStroke(stroke, inX, inY) < inRadius;
    });
}

/// Adds an arc as short strokes; angles in degrees, counted from the right against the clock.
void AddArc(std::vector<Stroke>& ioStrokes, float inX, float inY, float inRadius, float inFrom,
            float inTo) {
    constexpr int kPieces = 24;
    const auto point = [&](int inPiece) {
        const float angle =
            (inFrom + (inTo - inFrom) * static_cast<float>(inPiece) / kPieces) * kPi / 180;
        return std::array{inX + inRadius * std::cos(angle), inY + inRadius * std::sin(angle)};
    };
    for (int i = 0; i < kPieces; ++i) {
        const auto [fromX, fromY] = point(i);
        const auto [toX, toY] = point(i + 1);
        ioStrokes.push_back({fromX, fromY, toX, toY});
    }
}

std::array<std::vector<Stroke>, 4> MakeDigits() {
    std::array<std::vector<Stroke>, 4> digits;
    digits[0] = {{-0.3F, 0.5F, 0.05F, 0.8F}, {0.05F, 0.8F, 0.05F, -0.8F}};
    digits[1] = {{0.38F, 0.13F, -0.42F, -0.8F}, {-0.42F, -0.8F, 0.48F, -0.8F}};
    AddArc(digits[1], 0.03F, 0.38F, 0.43F, -36, 165);
    AddArc(digits[2], 0, 0.4F, 0.4F, -90, 150);
    AddArc(digits[2], 0, -0.4F, 0.4F, -150, 90);
    digits[3] = {
        {0.15F, 0.8F, -0.45F, -0.3F}, {-0.45F, -0.3F, 0.5F, -0.3F}, {0.15F, 0.8F, 0.15F, -0.8F}};
    return digits;
}

const std::array<std::vector<Stroke>, 4> kDigits = MakeDigits();
const std::vector<Stroke> kArrow = {
    {0, -0.6F, 0, 0.6F}, {0, 0.6F, -0.5F, 0.1F}, {0, 0.6F, 0.5F, 0.1F}};

// ---------------------------------------------------------------------------------------------
// The scene

struct Material {
    Vector colour;
    float mirror = 0;  ///< share of light that a straight view reflects
};

struct Sphere {
    Vector centre;
    float radius;
    Material material;
};

struct Hit {
    float distance = kFar;
    Vector point;
    Vector normal;
    Material material;
};

struct Ray {
    Vector origin;
    Vector direction;
};

const std::array kSpheres = {
    Sphere{{0, 3.3F, 0}, 0.62F, {{0.95F, 0.56F, 0.1F}, 0.5F}},             // gold, on the tower
    Sphere{{2.25F, 1, 1.85F}, 1, {{0.75F, 0.05F, 0.06F}, 0.06F}},          // red
    Sphere{{-2.2F, 0.8F, 1.9F}, 0.8F, {{0.06F, 0.2F, 0.72F}, 0.06F}},      // blue
    Sphere{{-2.3F, 1.1F, -2.1F}, 1.1F, {{0.9F, 0.92F, 0.95F}, 0.8F}},      // silver
    Sphere{{2.1F, 0.65F, -2.2F}, 0.65F, {{0.08F, 0.5F, 0.12F}, 0.06F}},    // green
    Sphere{{0.9F, 0.32F, 2.8F}, 0.32F, {{0.9F, 0.55F, 0.05F}, 0.06F}},     // orange
    Sphere{{-3.4F, 0.35F, -0.2F}, 0.35F, {{0.6F, 0.12F, 0.5F}, 0.06F}},    // purple
    Sphere{{3.1F, 0.4F, -0.5F}, 0.4F, {{0.05F, 0.55F, 0.55F}, 0.06F}},     // teal
    Sphere{{-0.6F, 0.28F, -3.0F}, 0.28F, {{0.85F, 0.25F, 0.35F}, 0.06F}},  // pink
};

constexpr float kTowerHalf = 0.95F;
constexpr float kTowerHeight = 2.7F;
constexpr Vector kLightCentre{6.5F, 7.5F, 4};
constexpr float kLightRadius = 1.8F;
constexpr Vector kLightColour{1.25F, 1.1F, 0.9F};

Vector SkyColour(Vector inDirection) {
    const float height = std::max(inDirection.y, 0.0F);
    return Mix({0.88F, 0.74F, 0.62F}, {0.1F, 0.28F, 0.66F}, std::sqrt(height));
}

Material FloorMaterial(Vector inPoint) {
    const int tile =
        static_cast<int>(std::floor(inPoint.x)) + static_cast<int>(std::floor(inPoint.z));
    const Vector light{0.72F, 0.68F, 0.6F};
    const Vector dark{0.13F, 0.16F, 0.2F};
    return {tile % 2 == 0 ? light : dark, 0.05F};
}

/// A side of the tower: inX runs from -1 at the left to 1 at the right as seen from outside.
Material TowerMaterial(int inSide, float inX, float inHeight) {
    constexpr std::array kPanels = {Vector{0.5F, 0.06F, 0.07F}, Vector{0.04F, 0.3F, 0.12F},
                                    Vector{0.05F, 0.12F, 0.45F}, Vector{0.5F, 0.26F, 0.02F}};
    const Vector cream{0.82F, 0.78F, 0.68F};
    const float y = inHeight / kTowerHeight;
    if (std::abs(inX) > 0.86F || y < 0.07F || y > 0.94F) return {cream, 0.02F};
    const float digitY = (inHeight - 1.05F) / 0.78F;
    const float arrowY = (inHeight - 2.16F) / 0.26F;
    const auto side = static_cast<std::size_t>(inSide);
    const bool inked = IsInked(kDigits[side], inX * kTowerHalf / 0.78F, digitY, 0.15F) ||
                       IsInked(kArrow, inX * kTowerHalf / 0.26F, arrowY, 0.17F);
    return inked ? Material{cream, 0.02F} : Material{kPanels[side], 0.03F};
}

void HitFloor(const Ray& inRay, Hit& ioHit) {
    if (inRay.direction.y >= 0) return;
    const float distance = -inRay.origin.y / inRay.direction.y;
    if (distance <= 0 || distance >= ioHit.distance) return;
    const Vector point = inRay.origin + inRay.direction * distance;
    ioHit = {distance, point, {0, 1, 0}, FloorMaterial(point)};
}

std::optional<float> DistanceToSphere(const Ray& inRay, const Sphere& inSphere) {
    const Vector offset = inRay.origin - inSphere.centre;
    const float half = Dot(offset, inRay.direction);
    const float root = half * half - Dot(offset, offset) + inSphere.radius * inSphere.radius;
    if (root < 0) return std::nullopt;
    const float distance = -half - std::sqrt(root);
    return distance > 0 ? std::optional(distance) : std::nullopt;
}

void HitSphere(const Ray& inRay, const Sphere& inSphere, Hit& ioHit) {
    const std::optional<float> distance = DistanceToSphere(inRay, inSphere);
    if (!distance || *distance >= ioHit.distance) return;
    const Vector point = inRay.origin + inRay.direction * *distance;
    ioHit = {*distance, point, (point - inSphere.centre) * (1 / inSphere.radius),
             inSphere.material};
}

/// Where a ray enters the tower: the distance, and the axis of the side (0 x, 1 y, 2 z).
std::optional<std::pair<float, int>> DistanceToTower(const Ray& inRay) {
    const std::array origin{inRay.origin.x, inRay.origin.y, inRay.origin.z};
    const std::array direction{inRay.direction.x, inRay.direction.y, inRay.direction.z};
    constexpr std::array kLow{-kTowerHalf, 0.0F, -kTowerHalf};
    constexpr std::array kHigh{kTowerHalf, kTowerHeight, kTowerHalf};
    float enter = 0;
    float leave = kFar;
    int axis = -1;
    for (std::size_t i = 0; i < 3; ++i) {
        const float first = (kLow[i] - origin[i]) / direction[i];
        const float second = (kHigh[i] - origin[i]) / direction[i];
        leave = std::min(leave, std::max(first, second));
        if (std::min(first, second) > enter) {
            enter = std::min(first, second);
            axis = static_cast<int>(i);
        }
    }
    if (axis < 0 || enter >= leave) return std::nullopt;
    return std::pair(enter, axis);
}

void HitTower(const Ray& inRay, Hit& ioHit) {
    const auto entry = DistanceToTower(inRay);
    if (!entry || entry->first >= ioHit.distance) return;
    const Vector point = inRay.origin + inRay.direction * entry->first;
    const float sign =
        entry->second == 0 ? std::copysign(1.0F, point.x) : std::copysign(1.0F, point.z);
    if (entry->second == 1) {
        ioHit = {entry->first, point, {0, 1, 0}, {{0.82F, 0.78F, 0.68F}, 0.02F}};
    } else if (entry->second == 2) {  // 1 looks along +z, 3 along -z
        ioHit = {entry->first,
                 point,
                 {0, 0, sign},
                 TowerMaterial(sign > 0 ? 0 : 2, sign * point.x / kTowerHalf, point.y)};
    } else {  // 2 looks along +x, 4 along -x
        ioHit = {entry->first,
                 point,
                 {sign, 0, 0},
                 TowerMaterial(sign > 0 ? 1 : 3, -sign * point.z / kTowerHalf, point.y)};
    }
}

Hit FindHit(const Ray& inRay) {
    Hit hit;
    HitFloor(inRay, hit);
    HitTower(inRay, hit);
    for (const Sphere& sphere : kSpheres)
        HitSphere(inRay, sphere, hit);
    return hit;
}

/// Whether anything but the floor, which casts no shadow, stands in the ray's way.
bool IsBlocked(const Ray& inRay) {
    return DistanceToTower(inRay) ||
           std::any_of(kSpheres.begin(), kSpheres.end(), [&](const Sphere& sphere) {
               return DistanceToSphere(inRay, sphere).has_value();
           });
}

// ---------------------------------------------------------------------------------------------
// Light

/// Light of the lamp that reaches a point: one ray to one place of the lamp's disc.
Vector LampLight(const Hit& inHit, Vector inStart, const Sample& inSample) {
    const Vector towards = Normalized(kLightCentre - inStart);
    const Basis basis = BasisAround(towards);
    const float radius = kLightRadius * std::sqrt(inSample.lightU);
    const float angle = 2 * kPi * inSample.lightV;
    const Vector place =
        kLightCentre + basis.u * (radius * std::cos(angle)) + basis.v * (radius * std::sin(angle));
    const Vector direction = Normalized(place - inStart);
    const float cosine = Dot(direction, inHit.normal);
    if (cosine <= 0 || IsBlocked({inStart, direction})) return {};
    return kLightColour * cosine;
}

/// Light of the sky that reaches a point: one ray, more likely the straighter it falls.
Vector SkyLight(const Hit& inHit, Vector inStart, const Sample& inSample) {
    const Basis basis = BasisAround(inHit.normal);
    const float radius = std::sqrt(inSample.skyU);
    const float angle = 2 * kPi * inSample.skyV;
    const Vector direction = basis.u * (radius * std::cos(angle)) +
                             basis.v * (radius * std::sin(angle)) +
                             inHit.normal * std::sqrt(1 - inSample.skyU);
    if (IsBlocked({inStart, direction})) return {0.06F, 0.055F, 0.05F};
    if (direction.y < 0) return {0.22F, 0.21F, 0.19F};  // what the floor gives back
    return SkyColour(direction) * 0.62F;
}

Vector Trace(const Ray& inRay, const Sample& inSample, int inBounces) {
    const Hit hit = FindHit(inRay);
    if (hit.distance == kFar) return SkyColour(inRay.direction);
    const Vector start = hit.point + hit.normal * 1e-3F;
    const Vector light = LampLight(hit, start, inSample) + SkyLight(hit, start, inSample);
    Vector colour = hit.material.colour * light;

    // Everything mirrors more at a grazing view (Schlick's form of Fresnel's law).
    const float cosine = std::clamp(-Dot(inRay.direction, hit.normal), 0.0F, 1.0F);
    const float mirror =
        hit.material.mirror + (1 - hit.material.mirror) * 0.6F * std::pow(1 - cosine, 5.0F);
    if (inBounces < kMaxBounces && mirror > 0.01F) {
        const Vector direction = inRay.direction + hit.normal * (2 * cosine);
        const Vector seen = Trace({start, direction}, inSample, inBounces + 1);
        const Vector tint = hit.material.mirror > 0.3F ? hit.material.colour : Vector{1, 1, 1};
        colour = Mix(colour, seen * tint, mirror);
    }
    // Far tiles would shimmer: the distance is hazy.
    const float haze = SmoothStep(10, 48, hit.distance);
    return Mix(colour, SkyColour({inRay.direction.x, 0, inRay.direction.z}), haze);
}

// ---------------------------------------------------------------------------------------------
// Cameras and pictures

class Camera {
  public:
    /// Camera 1 to 4 stands before the side with its number, a little to the right of it.
    explicit Camera(int inNumber) {
        const float angle = (static_cast<float>(inNumber - 1) * 90 + 14) * kPi / 180;
        position_ = {8.6F * std::sin(angle), 3.1F, 8.6F * std::cos(angle)};
        forward_ = Normalized(Vector{0, 1.62F, 0} - position_);
        right_ = Normalized(Cross(forward_, {0, 1, 0}));
        up_ = Cross(right_, forward_);
    }

    /// The ray through a place of the picture, in pixels from its top left corner.
    Ray RayThrough(float inX, float inY) const {
        constexpr float kZoom = 2.25F;
        const float x = (2 * inX - kWidth) / kHeight / kZoom;
        const float y = (kHeight - 2 * inY) / kHeight / kZoom;
        return {position_, Normalized(forward_ + right_ * x + up_ * y)};
    }

  private:
    Vector position_;
    Vector forward_;
    Vector right_;
    Vector up_;
};

/// Linear light to an sRGB byte (IEC 61966-2-1), with a soft shoulder for the brightest tones.
std::uint8_t Encode(float inLight) {
    const float light = inLight < 0.7F ? inLight : 1 - 0.3F * std::exp(-(inLight - 0.7F) / 0.3F);
    const float value =
        light <= 0.0031308F ? 12.92F * light : 1.055F * std::pow(light, 1 / 2.4F) - 0.055F;
    return static_cast<std::uint8_t>(std::clamp(value, 0.0F, 1.0F) * 255 + 0.5F);
}

void RenderRow(const Camera& inCamera, const std::vector<Sample>& inSamples, int inRow,
               std::uint8_t* outPixels) {
    for (int column = 0; column < kWidth; ++column) {
        Vector sum;
        for (const Sample& sample : inSamples) {
            const Ray ray = inCamera.RayThrough(static_cast<float>(column) + sample.pixelX,
                                                static_cast<float>(inRow) + sample.pixelY);
            sum = sum + Trace(ray, sample, 0);
        }
        const Vector mean = sum * (1.0F / kSamples);
        *outPixels++ = Encode(mean.x);
        *outPixels++ = Encode(mean.y);
        *outPixels++ = Encode(mean.z);
    }
}

std::vector<std::uint8_t> Render(const Camera& inCamera, const std::vector<Sample>& inSamples) {
    constexpr std::size_t kRowBytes = std::size_t{kWidth} * 3;
    std::vector<std::uint8_t> pixels(kRowBytes * kHeight);
    std::atomic<int> nextRow = 0;
    const auto renderRows = [&] {
        for (int row = nextRow++; row < kHeight; row = nextRow++)
            RenderRow(inCamera, inSamples, row,
                      pixels.data() + kRowBytes * static_cast<std::size_t>(row));
    };
    std::vector<std::jthread> workers;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i)
        workers.emplace_back(renderRows);
    renderRows();
    workers.clear();  // waits for them
    return pixels;
}

bool WritePng(const std::string& inPath, const std::vector<std::uint8_t>& inPixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = kWidth;
    image.height = kHeight;
    image.format = PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, inPath.c_str(), 0, inPixels.data(), 0, nullptr) != 0;
}

}  // namespace

int main(int inCount, char** inArguments) {
    const std::string folder = inCount > 1 ? inArguments[1] : ".";
    const std::vector<Sample> samples = MakeSamples();
    for (int number = 1; number <= 4; ++number) {
        const std::string path = folder + "/angle-" + std::to_string(number) + ".png";
        if (!WritePng(path, Render(Camera(number), samples))) {
            std::fprintf(stderr, "render-samples: %s: cannot be written\n", path.c_str());
            return 1;
        }
        std::printf("%s\n", path.c_str());
    }
    return 0;
}
