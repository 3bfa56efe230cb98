#include <animation/gradual_masks.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace
{

constexpr double kDiagonal = 141.4213562373095; /* of the mask */
constexpr double kHalfDiagonal = 70.71067811865476;
constexpr int kHalf = kMaskSize / 2;
constexpr int kSoftEdge = 20;    /* pixels; a straight edge ends at both 255 and 0 within them */
constexpr float kTravel = 70.0f; /* a half width and the soft edge */

struct Slots {
	MaskKind kind;
	int8_t entry;
	int8_t exit;
};

constexpr Slots kSlots[] = {
    {MaskKind::kNone, -1, -1}, {MaskKind::kLine, 2, 3}, /* GRAD_LEFT2RIGHT */
    {MaskKind::kLine, 3, 2},                            /* GRAD_RIGHT2LEFT */
    {MaskKind::kLine, 0, 1},                            /* GRAD_TOP2BOTTOM */
    {MaskKind::kLine, 1, 0},                            /* GRAD_BOTTOM2TOP */
    {MaskKind::kGenerated, 4, 5},                       /* GRAD_CENTER2EDGE */
    {MaskKind::kGenerated, 5, 4},                       /* GRAD_EDGE2CENTER */
    {MaskKind::kGenerated, 7, 6},                       /* GRAD_2SIDES2MIDDLE */
    {MaskKind::kGenerated, 6, 7},                       /* GRAD_MIDDLE22SIDES */
    {MaskKind::kGenerated, 8, 8},                       /* GRAD_CENTER2SURROUND */
    {MaskKind::kGenerated, 9, 9},                       /* GRAD_SURROUND2CENTER */
    {MaskKind::kBlocks, 10, 10},                        /* GRAD_BLOCKS */
};

/* Where the edge stands at step n of N, in mask pixels; truncated towards zero. */
int edge_position(GraduallyDispMode mode, uint32_t n, uint32_t N)
{
	auto step = static_cast<float>(n);
	auto radial_delta = static_cast<float>(kDiagonal / (2 * static_cast<double>(N)));
	float straight_delta = kTravel / static_cast<float>(N);
	switch (mode) {
	case GRAD_CENTER2EDGE:
		return static_cast<int>(step * radial_delta);
	case GRAD_EDGE2CENTER:
		return static_cast<int>(kHalfDiagonal - static_cast<double>(step * radial_delta));
	case GRAD_2SIDES2MIDDLE:
	case GRAD_SURROUND2CENTER:
		return static_cast<int>(static_cast<double>(step * straight_delta) - kSoftEdge);
	default: /* GRAD_MIDDLE22SIDES, GRAD_CENTER2SURROUND */
		return static_cast<int>(
		    static_cast<double>(kTravel) - static_cast<double>(step * straight_delta));
	}
}

/* The modes that open from the inside or close from the outside cover with the complement; an
 * exit always with the complement of its entry. */
bool is_complement(GraduallyDispMode mode, MaskHalf half)
{
	bool entry_is_complement =
	    mode == GRAD_EDGE2CENTER || mode == GRAD_MIDDLE22SIDES || mode == GRAD_CENTER2SURROUND;
	return entry_is_complement != (half == MaskHalf::kExit);
}

uint8_t radial_cover(float dist, int pos)
{
	if (dist <= static_cast<float>(pos))
		return 255;
	if (dist < static_cast<float>(pos + kSoftEdge)) {
		double inside = static_cast<double>(pos + kSoftEdge) - static_cast<double>(dist);
		return static_cast<uint8_t>(inside * 255.0 / 20.0);
	}
	return 0;
}

uint8_t straight_cover(int d, int pos)
{
	if (d < pos)
		return 255;
	if (d < pos + kSoftEdge)
		return static_cast<uint8_t>(static_cast<float>(pos + 19 - d) * 255.0f / 19.0f);
	return 0;
}

MaskPixel covered(uint8_t cover, bool complement)
{
	return {255, 255, 255, static_cast<uint8_t>(complement ? 255 - cover : cover)};
}

void mirror_columns(MaskPixel (&line)[kMaskSize])
{
	for (int column = kHalf; column < kMaskSize; column++)
		line[column] = line[kMaskSize - 1 - column];
}

void mirror_lines(Mask *mask)
{
	for (int line = 0; line < kHalf; line++)
		memcpy(mask->pixels[kMaskSize - 1 - line], mask->pixels[line], sizeof(mask->pixels[0]));
}

/* One quadrant is computed, the rest mirrored; the centre lies at (50, 50). */
void build_radial(Mask *mask, int pos, bool complement)
{
	for (int line = 0; line < kHalf; line++) {
		float dist[kHalf];
		for (int column = 0; column < kHalf; column++) {
			double dy = line - kHalf;
			double dx = column - kHalf;
			dist[column] = static_cast<float>(std::sqrt(dy * dy + dx * dx));
		}
		for (int column = 0; column < kHalf; column++)
			mask->pixels[line][column] = covered(radial_cover(dist[column], pos), complement);
		mirror_columns(mask->pixels[line]);
	}
	mirror_lines(mask);
}

/* The covers from an edge of the mask to its middle. */
struct StraightCovers {
	MaskPixel at[kHalf];
};

StraightCovers straight_covers(int pos, bool complement)
{
	StraightCovers covers;
	for (int d = 0; d < kHalf; d++)
		covers.at[d] = covered(straight_cover(d, pos), complement);
	return covers;
}

/* All lines are equal. */
void build_bars(Mask *mask, int pos, bool complement)
{
	StraightCovers covers = straight_covers(pos, complement);
	std::copy_n(covers.at, kHalf, mask->pixels[0]);
	mirror_columns(mask->pixels[0]);
	for (int line = 1; line < kMaskSize; line++)
		memcpy(mask->pixels[line], mask->pixels[0], sizeof(mask->pixels[0]));
}

/* A pixel is covered by its distance from the nearest edge. */
void build_square(Mask *mask, int pos, bool complement)
{
	StraightCovers covers = straight_covers(pos, complement);
	for (int line = 0; line < kHalf; line++) {
		std::copy_n(covers.at, line, mask->pixels[line]);
		std::fill_n(mask->pixels[line] + line, kHalf - line, covers.at[line]);
		mirror_columns(mask->pixels[line]);
	}
	mirror_lines(mask);
}

} // namespace

MaskKind mask_kind(GraduallyDispMode mode)
{
	return mode < std::size(kSlots) ? kSlots[mode].kind : MaskKind::kNone;
}

int mask_slot(GraduallyDispMode mode, MaskHalf half)
{
	return half == MaskHalf::kEntry ? kSlots[mode].entry : kSlots[mode].exit;
}

MaskWindow line_window(GraduallyDispMode mode, uint32_t n, uint32_t N)
{
	auto delta = static_cast<float>(60.0 / (N * 100.0));
	float s = static_cast<float>(n) * delta;
	float falling_start = static_cast<float>(0.6 - static_cast<double>(s));
	float falling_end = 1.0f - s;
	float rising_end = static_cast<float>(static_cast<double>(s) + 0.4);
	switch (mode) {
	case GRAD_LEFT2RIGHT:
		return {.x1 = falling_start, .y1 = 0.0f, .x2 = falling_end, .y2 = 1.0f};
	case GRAD_RIGHT2LEFT:
		return {.x1 = s, .y1 = 0.0f, .x2 = rising_end, .y2 = 1.0f};
	case GRAD_TOP2BOTTOM:
		return {.x1 = 0.0f, .y1 = s, .x2 = 1.0f, .y2 = rising_end};
	default: /* GRAD_BOTTOM2TOP */
		return {.x1 = 0.0f, .y1 = falling_start, .x2 = 1.0f, .y2 = falling_end};
	}
}

void build_mask(GraduallyDispMode mode, MaskHalf half, uint32_t n, uint32_t N, Mask *mask)
{
	int pos = edge_position(mode, n, N);
	bool complement = is_complement(mode, half);
	switch (mode) {
	case GRAD_CENTER2EDGE:
	case GRAD_EDGE2CENTER:
		build_radial(mask, pos, complement);
		break;
	case GRAD_2SIDES2MIDDLE:
	case GRAD_MIDDLE22SIDES:
		build_bars(mask, pos, complement);
		break;
	default: /* GRAD_CENTER2SURROUND, GRAD_SURROUND2CENTER */
		build_square(mask, pos, complement);
		break;
	}
}
