#include <animation/animation.h>

#include <algorithm>
#include <cmath>

namespace
{

constexpr double kViewportWidth = ANIMATION_VIEWPORT_WIDTH;
constexpr double kViewportHeight = ANIMATION_VIEWPORT_HEIGHT;

/* This value and not the nearest double: places are exact to the bit. */
constexpr double kPi = 3.141592654;

/* The quad of Gen3DPosition, always four vertices. */
struct Quad {
	float x[4];
	float y[4];
};

/* Where a row stands between the first (0) and the last (span); a single row is the first. */
float row_position(std::size_t vertex, uint32_t count, float span)
{
	uint32_t row = vertex / 2;
	uint32_t rows = count / 2;
	if (rows < 2)
		return 0.0f;
	return span * static_cast<float>(row) / static_cast<float>(rows - 1);
}

/* x[0], x[1], y[0] and y[2] give size and centre: the quad is rebuilt upright from these. */
Quad shift_and_scale(const Quad &in, float hshift_factor, float vshift_factor, float scale_factor,
    float *center_x, float *center_y)
{
	float width = in.x[1] - in.x[0];
	float height = in.y[2] - in.y[0];
	*center_x = in.x[0] + width / 2;
	*center_y = in.y[0] + height / 2;
	*center_x += width * hshift_factor;
	*center_y += height * vshift_factor;

	double half_width = static_cast<double>(width) * 0.5 * static_cast<double>(scale_factor);
	double half_height = static_cast<double>(height) * 0.5 * static_cast<double>(scale_factor);
	Quad out;
	out.x[0] = out.x[2] = static_cast<float>(*center_x - half_width);
	out.x[1] = out.x[3] = static_cast<float>(*center_x + half_width);
	out.y[0] = out.y[1] = static_cast<float>(*center_y - half_height);
	out.y[2] = out.y[3] = static_cast<float>(*center_y + half_height);
	return out;
}

/* Positive angles turn counter-clockwise on the screen: the y axis is turned upwards for it. */
void rotate(Quad &quad, float angle, float center_x, float center_y)
{
	double radians = static_cast<double>(angle) * kPi / 180.0;
	double cosine = std::cos(radians);
	double sine = std::sin(radians);
	double upward_center = kViewportHeight - static_cast<double>(center_y);
	for (int i = 0; i < 4; i++) {
		double dx = static_cast<double>(quad.x[i]) - static_cast<double>(center_x);
		double dy = (kViewportHeight - static_cast<double>(quad.y[i])) - upward_center;
		quad.x[i] = static_cast<float>(dx * cosine - dy * sine + static_cast<double>(center_x));
		quad.y[i] = static_cast<float>(kViewportHeight - (dy * cosine + dx * sine + upward_center));
	}
}

} // namespace

void Convert2DTo3DPosition(const float *position2d, float *position3d, uint32_t coordnum)
{
	for (std::size_t i = 0; i < coordnum; i++) {
		float twice_x = 2.0f * position2d[2 * i];
		float twice_y = 2.0f * position2d[2 * i + 1];
		float x = static_cast<float>(static_cast<double>(twice_x) / kViewportWidth - 1.0);
		float y = static_cast<float>(1.0 - static_cast<double>(twice_y) / kViewportHeight);
		position3d[3 * i] = x + x; /* the projection's aspect of 2 takes this back */
		position3d[3 * i + 1] = y;
		position3d[3 * i + 2] = -1.0f;
	}
}

void GenTextureCoord(float *texcoord, uint32_t count, bool binversed)
{
	for (std::size_t i = 0; i < count; i++) {
		float t = row_position(i, count, 1.0f);
		texcoord[2 * i] = i % 2 ? 1.0f : 0.0f;
		texcoord[2 * i + 1] = binversed ? t : 1.0f - t;
	}
}

void GenTextureCoord_cut(float *texcoord, const float *src, uint32_t count, bool)
{
	for (std::size_t i = 0; i < std::size_t{2} * count; i++) {
		float value = src[i] > 1.0f ? 1.0f : src[i];
		texcoord[i] = value < 0.0f ? 0.0f : value;
	}
}

void GenTextureCoord_GRAD(float *texcoord, uint32_t count, float x1, float y1, float x2, float y2)
{
	for (std::size_t i = 0; i < count; i++) {
		texcoord[2 * i] = i % 2 ? x2 : x1;
		texcoord[2 * i + 1] = row_position(i, count, y2 - y1) + y1;
	}
}

void Gen3DPosition(const float *position2d, float *position3d, uint32_t coordnum, float angle,
    float hshift_factor, float vshift_factor, float scale_factor)
{
	Quad quad;
	for (int i = 0; i < 4; i++) {
		quad.x[i] = position2d[2 * i];
		quad.y[i] = position2d[2 * i + 1];
	}
	float center_x;
	float center_y;
	quad = shift_and_scale(quad, hshift_factor, vshift_factor, scale_factor, &center_x, &center_y);
	rotate(quad, angle, center_x, center_y);

	float moved[8];
	for (int i = 0; i < 4; i++) {
		moved[2 * i] = quad.x[i];
		moved[2 * i + 1] = quad.y[i];
	}
	Convert2DTo3DPosition(moved, position3d, std::min(coordnum, 4u));
	if (coordnum > 4)
		Convert2DTo3DPosition(position2d + 8, position3d + 12, coordnum - 4);
}
