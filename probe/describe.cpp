#include <probe/describe.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <optional>
#include <string_view>

#include <probe/textures.h>

namespace
{

struct Name {
	unsigned int number;
	const char *text;
};

struct Type {
	const char *name;
	const char *kind; /* in words */
};

constexpr Type kTypes[ANI_MAX] = {
    {"ANI_BACKGROUND", "background"},
    {"ANI_FLASH", "flash"},
    {"ANI_FADEINOUT", "fade loop"},
    {"ANI_CHARACTERISTIC", "fade loop"},
    {"ANI_GRADUALLYDISP", "gradual display"},
    {"ANI_VIDEO_GST", "streamed video"},
    {"ANI_VIDEO_RAW", "raw video"},
    {"ANI_SEQUENCE", "sequence"},
    {"ANI_TEST", "none"},
    {"ANI_TEX_CUT", "texture cut"},
};

constexpr Name kStatusBits[] = {
    {ST_FADEIN, "ST_FADEIN"},
    {ST_FADEOUT, "ST_FADEOUT"},
    {ST_GRADEIN, "ST_GRADEIN"},
    {ST_GRADEOUT, "ST_GRADEOUT"},
    {ST_SHOW, "ST_SHOW"},
    {ST_HIDE, "ST_HIDE"},
    {ST_PENDINGDESTROY, "ST_PENDINGDESTROY"},
    {ST_ONDESTROY, "ST_ONDESTROY"},
    {ST_SEQIN, "ST_SEQIN"},
    {ST_SEQOUT, "ST_SEQOUT"},
};
constexpr Name kBlendingModes[] = {
    {BLD_SOURCE, "BLD_SOURCE"},
    {BLD_SOURCE_MASK, "BLD_SOURCE_MASK"},
    {BLD_SOURCE_OVER, "BLD_SOURCE_OVER"},
    {BLD_SOURCE_SUB, "BLD_SOURCE_SUB"},
    {BLD_PRE_ALPHA, "BLD_PRE_ALPHA"},
};
constexpr Name kRenderModes[] = {
    {RENDER_TEXTURED, "RENDER_TEXTURED"},
    {RENDER_CONSTANT, "RENDER_CONSTANT"},
    {RENDER_VIDEO_DMAFD, "RENDER_VIDEO_DMAFD"},
    {RENDER_VIDEO_RAW_NV12, "RENDER_VIDEO_RAW_NV12"},
};
constexpr Name kUpdateModes[] = {
    {UPD_MISC, "UPD_MISC"},
    {UPD_COORDS, "UPD_COORDS"},
    {UPD_TEXS, "UPD_TEXS"},
    {UPD_ALL, "UPD_ALL"},
};
constexpr Name kDeleteModes[] = {
    {DEL_ON_HIDE, "DEL_ON_HIDE"},
    {DEL_IMMEDIATELY, "DEL_IMMEDIATELY"},
};

template <class Names>
std::string name_of(const Names &names, unsigned int number)
{
	for (const Name &name : names)
		if (name.number == number)
			return name.text;
	return std::to_string(number);
}

std::string blending_text(BlendingMode mode)
{
	const std::string base = name_of(kBlendingModes, mode & ~BLD_ALPHA_MASK);
	return mode & BLD_ALPHA_MASK ? base + "|BLD_ALPHA_MASK" : base;
}

/* ---- Which objects a frame draws, and in which order ---------------------------------------- */

/* As the frame passes over the list. */
constexpr int kPasses = 3;

int pass_number(AnimationType type)
{
	if (type == ANI_BACKGROUND)
		return 0;
	return type == ANI_VIDEO_GST || type == ANI_VIDEO_RAW ? 2 : 1;
}

bool has_background(const AnimationObj *head)
{
	while (head && head->animationtype != ANI_BACKGROUND)
		head = head->next;
	return head;
}

/* ---- The rectangle -------------------------------------------------------------------------- */

/* GL's viewport, from the bottom left. An object of no viewport is drawn in the one before it. */
struct Viewport {
	float x, width;
};

constexpr float kWidth = ANIMATION_VIEWPORT_WIDTH;
constexpr float kHeight = ANIMATION_VIEWPORT_HEIGHT;
constexpr Viewport kSurface = {0, 2 * kWidth};

Viewport viewport_for(ViewPortID vp_id, const Viewport &before)
{
	if (vp_id == VP_LCD0)
		return {0, kWidth};
	return vp_id == VP_LCD1 ? Viewport{kWidth, kWidth} : before;
}

struct Point {
	float x, y;
};

/* What the vertex shader and GL's divide make of one vertex: -1 to 1 is the viewport. */
Point project(const RenderObj &renderobj, const float *position)
{
	const std::array<float, 4> from = {position[0], position[1], position[2], 1};
	std::array<float, 4> clip = {};
	for (int column = 0; column < 4; column++)
		for (int row = 0; row < 4; row++)
			clip[row] += renderobj.mvp[column][row] * from[column];
	return {clip[0] / clip[3], clip[1] / clip[3]};
}

std::optional<SurfaceRect> rect_of(const RenderObj &renderobj, const Viewport &viewport)
{
	if (!renderobj.position3d || renderobj.coordnum < 3)
		return std::nullopt;
	Point low = {1, 1};
	Point high = {-1, -1};
	for (std::uint32_t i = 0; i < renderobj.coordnum; i++) {
		const Point at = project(renderobj, renderobj.position3d + std::size_t{3} * i);
		if (!std::isfinite(at.x) || !std::isfinite(at.y))
			return std::nullopt;
		low = {std::min(low.x, at.x), std::min(low.y, at.y)};
		high = {std::max(high.x, at.x), std::max(high.y, at.y)};
	}
	low = {std::max(low.x, -1.0f), std::max(low.y, -1.0f)};
	high = {std::min(high.x, 1.0f), std::min(high.y, 1.0f)};
	if (low.x >= high.x || low.y >= high.y)
		return std::nullopt;
	return SurfaceRect{viewport.x + (low.x + 1) / 2 * viewport.width, (1 - high.y) / 2 * kHeight,
	    (high.x - low.x) / 2 * viewport.width, (high.y - low.y) / 2 * kHeight};
}

/* ---- One object ----------------------------------------------------------------------------- */

/* To a hundredth of a pixel: the rest is rounding. */
float rounded(float pixels)
{
	return std::round(pixels * 100) / 100;
}

void describe_rect(JsonText &json, const std::optional<SurfaceRect> &rect)
{
	json.key("rect");
	if (!rect)
		return json.null();
	json.open('[');
	for (const float side : {rect->x, rect->y, rect->width, rect->height})
		json.value(rounded(side));
	json.close(']');
}

void describe_status(JsonText &json, AnimationStatus status)
{
	json.key("status");
	json.open('[');
	if (status == ST_PREPARE)
		json.value("ST_PREPARE");
	for (const Name &bit : kStatusBits)
		if (status & bit.number)
			json.value(bit.text);
	json.close(']');
}

std::uint32_t texture_count(const RenderObj &renderobj)
{
	return std::min<std::uint32_t>(renderobj.tex_num, ANIMATION_MAX_TEXTURES);
}

void describe_textures(JsonText &json, const RenderObj &renderobj)
{
	json.key("textures");
	json.open('[');
	for (std::uint32_t i = 0; i < texture_count(renderobj); i++) {
		json.open('{');
		json.member("name", renderobj.textures[i]);
		const std::optional<TextureFacts> facts = find_texture(renderobj.textures[i]);
		json.member("width", facts ? facts->width : 0);
		json.member("height", facts ? facts->height : 0);
		json.member("format", facts ? facts->format : "none");
		json.member("bytes", facts ? facts->bytes : 0);
		json.close('}');
	}
	json.close(']');
}

void describe_object(
    JsonText &json, const AnimationObj &obj, const std::optional<SurfaceRect> &rect)
{
	const RenderObj &renderobj = *obj.renderobj;
	const bool is_type = obj.animationtype < ANI_MAX;
	json.open('{');
	json.member("id", obj.objId);
	json.member("kind", is_type ? kTypes[obj.animationtype].kind : "none");
	json.key("type");
	json.value(type_name(obj.animationtype));
	json.member("viewport", static_cast<unsigned>(renderobj.vp_id));
	describe_status(json, obj.status);
	json.member("curframeno", static_cast<std::uint32_t>(obj.curframeno));
	json.member("cur_loopcnt", obj.cur_loopcnt);
	describe_rect(json, rect);
	json.key("blend");
	json.value(blending_text(renderobj.blendingmode));
	json.key("render_mode");
	json.value(name_of(kRenderModes, renderobj.rendermode));
	json.member("alpha", renderobj.prealpha0);
	json.member("alpha1", renderobj.prealpha1);
	json.key("color");
	json.open('[');
	for (const float channel : renderobj.constant_color)
		json.value(channel);
	json.close(']');
	describe_textures(json, renderobj);
	json.close('}');
}

} // namespace

void describe_objects(JsonText &json, const AnimationObj *head)
{
	const bool is_covered = has_background(head);
	Viewport viewport = kSurface;
	json.open('[');
	for (int pass = 0; pass < kPasses; pass++) {
		for (const AnimationObj *obj = head; obj; obj = obj->next) {
			if (pass_number(obj->animationtype) != pass)
				continue;
			std::optional<SurfaceRect> rect;
			if (obj->renderobj->repaint && (pass != 2 || !is_covered)) {
				viewport = viewport_for(obj->renderobj->vp_id, viewport);
				rect = rect_of(*obj->renderobj, viewport);
			}
			describe_object(json, *obj, rect);
		}
	}
	json.close(']');
}

void describe_texture_bytes(JsonText &json, const AnimationObj *head)
{
	json.open('[');
	for (const AnimationObj *obj = head; obj; obj = obj->next) {
		std::uint64_t bytes = 0;
		for (std::uint32_t i = 0; i < texture_count(*obj->renderobj); i++)
			if (const auto facts = find_texture(obj->renderobj->textures[i]))
				bytes += facts->bytes;
		if (bytes == 0)
			continue;
		json.open('{');
		json.member("id", obj->objId);
		json.key("type");
		json.value(type_name(obj->animationtype));
		json.member("bytes", bytes);
		json.close('}');
	}
	json.close(']');
}

std::string type_name(AnimationType type)
{
	return type < ANI_MAX ? kTypes[type].name : std::to_string(type);
}

std::string status_text(AnimationStatus status)
{
	if (status == ST_PREPARE)
		return "ST_PREPARE";
	if (status == ST_INVALID)
		return "ST_INVALID";
	std::string text;
	for (const Name &bit : kStatusBits)
		if (status & bit.number)
			text += (text.empty() ? "" : "|") + std::string(bit.text);
	return text;
}

UpdateMode update_of(AnimationType type, const void *para)
{
	switch (type) {
	case ANI_BACKGROUND:
		return static_cast<const Backgroud_animationpara *>(para)->update;
	case ANI_FLASH:
	case ANI_TEX_CUT:
		return static_cast<const Flash_animationpara *>(para)->update;
	case ANI_GRADUALLYDISP:
		return static_cast<const GraduallyDispLoop_animationpara *>(para)->update;
	case ANI_SEQUENCE:
		return static_cast<const SeqLoop_animationpara *>(para)->update;
	case ANI_VIDEO_GST:
		return static_cast<const VideoGST_animationpara *>(para)->update;
	case ANI_VIDEO_RAW:
		return static_cast<const VideoRAW_animationpara *>(para)->update;
	default:
		return static_cast<const FadeInOutLoop_animationpara *>(para)->update;
	}
}

std::string update_text(UpdateMode update)
{
	return name_of(kUpdateModes, update);
}

std::string removal_text(DeleteObjMode mode)
{
	return name_of(kDeleteModes, mode);
}
