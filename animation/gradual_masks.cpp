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
constexpr int kSoftEdge = 20; /* pixels; a straight edge ends at both 255 and 0 within them */
constexpr float kStraightSteps = 19.0f; /* from 255 to 0 */
constexpr float kTravel = 70.0f;        /* a half width and the soft edge */

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

static_assert(std::size(kSlots) == GRAD_MAX + 1);

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

/* A complement turns all bits of the cover. */
MaskPixel covered(int cover, MaskPixel complement)
{
	return (static_cast<MaskPixel>(cover) << 24 | 0xFFFFFF) ^ complement;
}

constexpr MaskPixel kPlain = 0;
constexpr MaskPixel kComplement = 0xFF000000;

/* 255 up to pos, 0 from pos + 20 on, in between the product cut down. Single precision gives the
 * numbers of double for every distance of the mask, and does four pixels at a time. */
int radial_cover(float dist, int pos)
{
	float cover = (static_cast<float>(pos + kSoftEdge) - dist) * 12.75f;
	return static_cast<int>(std::min(std::max(cover, 0.0f), 255.0f));
}

int straight_cover(int d, int pos)
{
	if (d < pos)
		return 255;
	if (d < pos + kSoftEdge)
		return static_cast<int>(
		    static_cast<float>(pos + kSoftEdge - 1 - d) * 255.0f / kStraightSteps);
	return 0;
}

void mirror_columns(MaskPixel (&line)[kMaskSize])
{
	std::reverse_copy(line, line + kHalf, line + kHalf);
}

void mirror_lines(Mask *mask)
{
	for (int line = 0; line < kHalf; line++)
		memcpy(mask->pixels[kMaskSize - 1 - line], mask->pixels[line], sizeof(mask->pixels[0]));
}

/* Distances of one quadrant from the centre, which lies at (50, 50). */
struct Distances {
	float at[kHalf][kHalf];
};

Distances measure_distances()
{
	Distances distances;
	for (int line = 0; line < kHalf; line++) {
		for (int column = 0; column < kHalf; column++) {
			double dy = line - kHalf;
			double dx = column - kHalf;
			distances.at[line][column] = static_cast<float>(std::sqrt(dy * dy + dx * dx));
		}
	}
	return distances;
}

/* One quadrant is computed, the rest mirrored. */
void build_radial(Mask *mask, int pos, MaskPixel complement)
{
	static const Distances distances = measure_distances();
	for (int line = 0; line < kHalf; line++) {
		for (int column = 0; column < kHalf; column++) {
			int cover = radial_cover(distances.at[line][column], pos);
			mask->pixels[line][column] = covered(cover, complement);
		}
		mirror_columns(mask->pixels[line]);
	}
	mirror_lines(mask);
}

/* All lines are equal: the first, then copies of all that is there. */
void build_bars(Mask *mask, int pos, MaskPixel complement)
{
	for (int column = 0; column < kHalf; column++)
		mask->pixels[0][column] = covered(straight_cover(column, pos), complement);
	mirror_columns(mask->pixels[0]);
	for (int lines = 1; lines < kMaskSize; lines *= 2) {
		int copies = std::min(lines, kMaskSize - lines);
		memcpy(mask->pixels[lines], mask->pixels[0],
		    static_cast<std::size_t>(copies) * sizeof(mask->pixels[0]));
	}
}

/* A pixel is covered by its distance from the nearest edge: between the diagonals by its line,
 * outside of them as in the line before. */
void build_square(Mask *mask, int pos, MaskPixel complement)
{
	for (int line = 0; line < kHalf; line++) {
		if (line)
			memcpy(mask->pixels[line], mask->pixels[line - 1], sizeof(mask->pixels[0]));
		std::fill(mask->pixels[line] + line, mask->pixels[line] + kMaskSize - line,
		    covered(straight_cover(line, pos), complement));
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
	MaskPixel complement = is_complement(mode, half) ? kComplement : kPlain;
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
