/* What a record says that the header forbids, or that shows nothing. */
#include <probe/checks.h>

#include <cmath>

#include <probe/check_records.h>
#include <probe/findings.h>

namespace
{

constexpr float kWidth = ANIMATION_VIEWPORT_WIDTH;
constexpr float kHeight = ANIMATION_VIEWPORT_HEIGHT;

struct Box {
	float left = INFINITY, top = INFINITY, right = -INFINITY, bottom = -INFINITY;
};

Box box_of(const InPosition2D &strip)
{
	Box box;
	for (std::uint32_t i = 0; i < strip.coordnum; i++) {
		const float x = strip.position2d[2 * i];
		const float y = strip.position2d[2 * i + 1];
		box.left = std::min(box.left, x);
		box.right = std::max(box.right, x);
		box.top = std::min(box.top, y);
		box.bottom = std::max(box.bottom, y);
	}
	return box;
}

/* How many textures of the set are pictures: the mask and the alpha texture are none. */
std::uint32_t picture_count(const TextureArray &set)
{
	std::uint32_t count = set.tex_num;
	if (set.mask_index < set.tex_num)
		count--;
	if (set.alpha_index < set.tex_num && set.alpha_index != set.mask_index)
		count--;
	return count;
}

bool shows_pictures(const TextureArray *set)
{
	return set && set->tex_num <= ANIMATION_MAX_TEXTURES && picture_count(*set) > 0;
}

void check_numbers(const Subject &about, const InPosition2D &strip)
{
	if (strip.vp_id > VP_LCD1)
		tell({"viewport-unknown", about.call, about.object,
		    words("vp_id is %u", static_cast<unsigned>(strip.vp_id)),
		    "set it to VP_LCD0 or VP_LCD1"});
	if (strip.coordnum < 4 || strip.coordnum % 2 != 0)
		tell({"strip-vertices", about.call, about.object, words("coordnum is %u", strip.coordnum),
		    "give an even number of vertices, at least 4"});
}

/* position2d can be read. */
void check_shape(const Subject &about, const InPosition2D &strip, bool may_be_empty)
{
	const Box box = box_of(strip);
	const std::string where =
	    words("(%g, %g) to (%g, %g)", box.left, box.top, box.right, box.bottom);
	if (!may_be_empty && !(box.right > box.left && box.bottom > box.top))
		tell({"strip-without-area", about.call, about.object, "the strip " + where + " has no area",
		    "give it a width and a height"});
	else if (box.right < 0 || box.left > kWidth || box.bottom < 0 || box.top > kHeight)
		tell({"strip-outside", about.call, about.object,
		    "the strip " + where + " lies outside its viewport",
		    "positions are pixels of one viewport, 1152 x 576, whichever it is"});
}

/* A picture that is turned by any angle runs the same way round, a mirrored one the other way. */
void check_upright(const Subject &about, const InPosition2D &strip)
{
	if (strip.coordnum < 4)
		return;
	const float *const p = strip.position2d;
	const float first = p[1];
	const float last = p[2 * strip.coordnum - 1];
	const bool mirrored = (p[2] - p[0]) * (p[5] - p[1]) > (p[3] - p[1]) * (p[4] - p[0]);
	if (first < last && mirrored)
		tell({"strip-upside-down", about.call, about.object,
		    words("the strip begins at y %g and ends at y %g: its picture stands on its head",
		        first, last),
		    "begin with the bottom edge: bottom left, bottom right, top left, top right"});
}

void check_array(const Subject &about, const char *name, const void *array)
{
	if (!array)
		tell({"array-missing", about.call, about.object, words("%s is NULL", name),
		    "the record needs it: no object is made of it as it is"});
}

void check_set_limits(const Subject &about, const TextureArray &set, AnimationType type)
{
	const std::uint32_t most =
	    type == ANI_GRADUALLYDISP ? ANIMATION_MAX_GRADUAL_TEXTURES : ANIMATION_MAX_TEXTURES;
	if (set.tex_num > most)
		tell({"textures-too-many", about.call, about.object, words("tex_num is %u", set.tex_num),
		    "a set holds 128 textures at most, that of "
		    "a gradual display 117"});
	for (const auto &[name, index] :
	    {std::pair{"mask_index", set.mask_index}, std::pair{"alpha_index", set.alpha_index}})
		if (index > ANIMATION_NO_TEXTURE)
			tell({"texture-index", about.call, about.object,
			    words("%s is %u", name, unsigned(index)),
			    "name a texture of the set, or ANIMATION_NO_TEXTURE"});
}

void check_set_sense(const Subject &about, const TextureArray &set)
{
	if (set.tex_num > 0 && set.mask_index == 0 && set.alpha_index == 0)
		tell({"record-cleared", about.call, about.object,
		    "mask_index and alpha_index are 0, so textures[0] is mask and alpha texture and no "
		    "picture",
		    "begin with an ANIMATION_..._INIT macro, or set both to ANIMATION_NO_TEXTURE"});
	else if (picture_count(set) == 0 && !(set.constant_color[3] > 0))
		tell({"colour-transparent", about.call, about.object,
		    "the set has no picture, and the alpha of constant_color is 0: nothing shows",
		    "set constant_color, or a picture"});
}

} // namespace

void check_record(const Subject &about, AnimationType type, const void *para, bool is_new)
{
	const std::optional<RecordFacts> facts = record_facts(type, para);
	if (!facts)
		return;
	const InPosition2D &strip = *facts->strip;
	check_numbers(about, strip);
	check_array(about, "position2d", strip.position2d);
	if (is_video(type))
		check_array(about, "texcoord", facts->video_texcoord);
	if (type == ANI_TEX_CUT)
		check_array(about, "texPosition2d", strip.texPosition2d);
	if (strip.position2d && strip.coordnum > 0) {
		/* A bar that follows a value may well be at nothing. */
		check_shape(about, strip, !is_new);
		if (type != ANI_TEX_CUT && shows_pictures(facts->textures))
			check_upright(about, strip);
	}
	if (facts->textures) {
		check_set_limits(about, *facts->textures, type);
		if (facts->textures->tex_num <= ANIMATION_MAX_TEXTURES)
			check_set_sense(about, *facts->textures);
	}
	if (facts->top_alpha && !(*facts->top_alpha > 0))
		tell({"alpha-zero", about.call, about.object,
		    "the alphas of the record are 0 for the whole cycle: nothing shows",
		    "begin with an ANIMATION_..._INIT macro, or set the alphas"});
}
