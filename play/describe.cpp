#include <play/describe.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>

#include <nlohmann/json.hpp>

#include <animation/pass.h>
#include <base/lock.h>

using nlohmann::json;

namespace
{

struct Name {
	unsigned int value;
	std::string_view text;
};

constexpr Name kTypes[] = {
    {ANI_BACKGROUND, "background"},
    {ANI_FLASH, "flash"},
    {ANI_FADEINOUT, "fade loop"},
    {ANI_GRADUALLYDISP, "gradual display"},
    {ANI_VIDEO_GST, "streamed video"},
    {ANI_VIDEO_RAW, "raw video"},
    {ANI_SEQUENCE, "sequence"},
    {ANI_TEX_CUT, "texture cut"},
};

constexpr Name kStatusBits[] = {
    {ST_FADEIN, "FADEIN"},
    {ST_FADEOUT, "FADEOUT"},
    {ST_GRADEIN, "GRADEIN"},
    {ST_GRADEOUT, "GRADEOUT"},
    {ST_SHOW, "SHOW"},
    {ST_HIDE, "HIDE"},
    {ST_PENDINGDESTROY, "PENDINGDESTROY"},
    {ST_ONDESTROY, "ONDESTROY"},
    {ST_SEQIN, "SEQIN"},
    {ST_SEQOUT, "SEQOUT"},
};

constexpr Name kBlendings[] = {
    {BLD_SOURCE, "SOURCE"},
    {BLD_SOURCE_MASK, "SOURCE_MASK"},
    {BLD_SOURCE_OVER, "SOURCE_OVER"},
    {BLD_SOURCE_SUB, "SOURCE_SUB"},
    {BLD_PRE_ALPHA, "PRE_ALPHA"},
};

constexpr Name kRenderModes[] = {
    {RENDER_TEXTURED, "TEXTURED"},
    {RENDER_CONSTANT, "CONSTANT"},
    {RENDER_VIDEO_DMAFD, "VIDEO_DMAFD"},
    {RENDER_VIDEO_RAW_NV12, "VIDEO_RAW_NV12"},
};

template <std::size_t count>
std::string name_of(const Name (&names)[count], unsigned int value)
{
	const auto *found = std::ranges::find(names, value, &Name::value);
	return found == std::end(names) ? std::to_string(value) : std::string(found->text);
}

json status_of(const AnimationObj &obj)
{
	json bits = json::array();
	for (const Name &bit : kStatusBits) {
		if (obj.status & bit.value)
			bits.push_back(bit.text);
	}
	return bits;
}

std::string blending_of(const RenderObj &renderobj)
{
	const unsigned int mode = renderobj.blendingmode;
	return name_of(kBlendings, mode & ~unsigned(BLD_ALPHA_MASK)) +
	       (mode & BLD_ALPHA_MASK ? " + ALPHA_MASK" : "");
}

struct Point {
	float x, y;
};

/* Where the draw puts a vertex, in pixels of the surface with y downwards. */
Point on_surface(const RenderObj &renderobj, const float *position)
{
	std::array<float, 4> clip = {};
	for (int i = 0; i < 4; ++i) {
		clip[i] = renderobj.mvp[3][i];
		for (int k = 0; k < 3; ++k)
			clip[i] += renderobj.mvp[k][i] * position[k];
	}
	const float left = renderobj.vp_id == VP_LCD1 ? ANIMATION_VIEWPORT_WIDTH : 0;
	return {left + (clip[0] / clip[3] + 1) / 2 * ANIMATION_VIEWPORT_WIDTH,
	    (1 - clip[1] / clip[3]) / 2 * ANIMATION_VIEWPORT_HEIGHT};
}

/* The box around the strip: x, y, width, height; null if it is nowhere. */
json box_of(const RenderObj &renderobj)
{
	constexpr float kFar = std::numeric_limits<float>::max();
	Point least = {kFar, kFar}, most = {-kFar, -kFar};
	for (std::uint32_t i = 0; renderobj.position3d && i < renderobj.coordnum; ++i) {
		const Point at = on_surface(renderobj, renderobj.position3d + std::size_t(i) * 3);
		least = {std::min(least.x, at.x), std::min(least.y, at.y)};
		most = {std::max(most.x, at.x), std::max(most.y, at.y)};
	}
	if (!std::isfinite(most.x - least.x) || least.x > most.x)
		return nullptr;
	auto rounded = [](float value) { return std::round(value * 10) / 10; };
	return {
	    rounded(least.x), rounded(least.y), rounded(most.x - least.x), rounded(most.y - least.y)};
}

json describe(const Stage &stage, const AnimationObj &obj, bool is_drawn)
{
	const RenderObj &renderobj = *obj.renderobj;
	json result = {
	    {"id", obj.objId},
	    {"kind", name_of(kTypes, obj.animationtype)},
	    {"viewport", renderobj.vp_id},
	    {"status", status_of(obj)},
	    {"curframeno", obj.curframeno},
	    {"cur_loopcnt", obj.cur_loopcnt},
	    {"rect", is_drawn ? box_of(renderobj) : json()},
	    {"blend", blending_of(renderobj)},
	    {"render_mode", name_of(kRenderModes, renderobj.rendermode)},
	    {"alpha", renderobj.prealpha0},
	    {"alpha1", renderobj.prealpha1},
	    {"color", renderobj.constant_color},
	};
	json &textures = result["textures"] = json::array();
	for (std::uint32_t i = 0; i < std::min<std::uint32_t>(renderobj.tex_num, 128); ++i)
		textures.push_back({{"name", renderobj.textures[i]}});
	const auto at = std::ranges::find(stage.ids, obj.objId);
	if (at != stage.ids.end())
		result["name"] = stage.scene->objects[std::size_t(at - stage.ids.begin())].name;
	return result;
}

Pass pass_of_type(AnimationType type)
{
	if (type == ANI_BACKGROUND)
		return Pass::kBackgrounds;
	return type == ANI_VIDEO_GST || type == ANI_VIDEO_RAW ? Pass::kVideos : Pass::kImages;
}

} // namespace

json describe_objects(const Stage &stage)
{
	const ListLock lock;
	json result = json::array();
	bool background_seen = false;
	for (const Pass pass : {Pass::kBackgrounds, Pass::kImages, Pass::kVideos}) {
		for (const AnimationObj *obj = animationItemHead; obj; obj = obj->next) {
			if (pass_of_type(obj->animationtype) != pass)
				continue;
			background_seen = background_seen || pass == Pass::kBackgrounds;
			const bool is_hidden = pass == Pass::kVideos && background_seen;
			result.push_back(describe(stage, *obj, obj->renderobj->repaint && !is_hidden));
		}
	}
	return result;
}
