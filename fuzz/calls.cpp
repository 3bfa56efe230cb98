/*
 * The life of an application: each byte of the input chooses what comes next, a creation, an
 * update, a removal or a few frames, with records of any content that a caller may give. At the end
 * all objects are removed, after which no texture and no image may be left.
 */
#include <fuzz/fuzzing.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <span>
#include <vector>

namespace
{

constexpr unsigned int kIds = 24; /* that calls name: some of them do not exist */
constexpr unsigned int kMaxObjects = 16;
constexpr uint32_t kMaxVertices = 12;
constexpr uint32_t kMaxPicture = 16; /* pixels a side */

/* The input, byte by byte; zeroes beyond its end. */
struct Bytes {
	std::span<const std::uint8_t> left;

	bool empty() const
	{
		return left.empty();
	}
	std::uint8_t next()
	{
		if (left.empty())
			return 0;
		const std::uint8_t byte = left.front();
		left = left.subspan(1);
		return byte;
	}
	unsigned int below(unsigned int limit)
	{
		return next() % limit;
	}
	template <class Enumeration>
	Enumeration one_of(unsigned int values)
	{
		return static_cast<Enumeration>(below(values));
	}
};

/* Everything that a record points to, of the sizes that the record tells. */
struct Arrays {
	std::vector<float> corners;
	std::vector<float> cut;
	BufferInfoGST descriptor = {};
	BufferInfoRAW planes = {};
};

/* Pixels live until they have been uploaded, which a background can put off to the end. */
std::deque<std::vector<unsigned char>> pixels;

std::array<GLuint, 4> handles; /* made ahead of time; they outlive every object */

/* Small numbers mostly, and the ones at which sums wrap. */
uint32_t duration(Bytes &bytes)
{
	const std::uint8_t byte = bytes.next();
	return byte < 0xF8 ? byte % 6 : UINT32_MAX - (byte & 7) / 2;
}

float number(Bytes &bytes)
{
	constexpr float kSpecial[] = {0, -0.5F, 1, 2, 1e30F, -1e30F, NAN, INFINITY};
	const std::uint8_t byte = bytes.next();
	return byte < 8 ? kSpecial[byte] : static_cast<float>(byte) / 255;
}

std::vector<float> numbers(Bytes &bytes, std::size_t count, float scale)
{
	std::vector<float> values(count);
	for (float &value : values)
		value = number(bytes) * scale;
	return values;
}

void read_strip(Bytes &bytes, Arrays &arrays, InPosition2D &strip)
{
	strip.coordnum = bytes.below(kMaxVertices + 1);
	arrays.corners = numbers(bytes, std::size_t{2} * strip.coordnum, ANIMATION_VIEWPORT_WIDTH);
	/* A vector of none has no array: no object is without one. */
	arrays.corners.reserve(1);
	strip.position2d = arrays.corners.data();
	strip.vp_id = bytes.one_of<ViewPortID>(3);
}

uint16_t texture_index(Bytes &bytes)
{
	const unsigned int index = bytes.below(12);
	return static_cast<uint16_t>(index < 8 ? index : ANIMATION_NO_TEXTURE);
}

void read_textures(Bytes &bytes, TextureArray &textures)
{
	constexpr uint32_t kFormats[] = {GL_RGB, GL_BGRA_EXT, GL_LUMINANCE, GL_LUMINANCE_ALPHA, 0};
	constexpr uint32_t kManyTextures[] = {ANIMATION_MAX_GRADUAL_TEXTURES,
	    ANIMATION_MAX_GRADUAL_TEXTURES + 1, ANIMATION_MAX_TEXTURES, ANIMATION_MAX_TEXTURES + 1};
	textures.mode = bytes.one_of<TextureDataMode>(5);
	const unsigned int count = bytes.below(36);
	textures.tex_num = count < 32 ? count % 5 : kManyTextures[count - 32];
	textures.mask_index = texture_index(bytes);
	textures.alpha_index = texture_index(bytes);
	const uint32_t width = bytes.below(kMaxPicture);
	const uint32_t height = bytes.below(kMaxPicture);
	unsigned char *const image = pixels.emplace_back(std::size_t{4} * width * height).data();
	const TextureData picture = {image, width, height, kFormats[bytes.below(5)]};
	for (std::size_t i = 0; i < ANIMATION_MAX_TEXTURES; i++) {
		textures.texids[i] = handles[i % handles.size()];
		textures.texdata[i] = picture;
	}
	const char *const no_picture = bytes.below(2) ? "/nonexistent" : "/dev/null";
	memcpy(textures.textures_name[0], no_picture, strlen(no_picture) + 1);
}

template <class Para>
void read_loop(Bytes &bytes, Para &para)
{
	para.pre_frame = duration(bytes);
	para.loopcnt = duration(bytes);
	para.delonloopcnt = bytes.below(2);
}

template <class Para>
void read_cycle(Bytes &bytes, Para &para)
{
	read_loop(bytes, para);
	para.in_frame = duration(bytes);
	para.sin_frame = duration(bytes);
	para.out_frame = duration(bytes);
	para.sout_frame = duration(bytes);
}

/* ---- What each type has of its own ---------------------------------------------------------- */

void read_own(Bytes &bytes, Arrays &, Backgroud_animationpara &para)
{
	para.in_frame = duration(bytes);
}

void read_own(Bytes &bytes, Arrays &arrays, Flash_animationpara &para)
{
	read_loop(bytes, para);
	para.on_frame = duration(bytes);
	para.off_frame = duration(bytes);
	para.on_alpha = number(bytes);
	para.off_alpha = number(bytes);
	arrays.cut = numbers(bytes, std::size_t{2} * para.in_position2d.coordnum, 1);
	arrays.cut.reserve(1);
	para.in_position2d.texPosition2d = bytes.below(4) ? arrays.cut.data() : nullptr;
}

void read_own(Bytes &bytes, Arrays &, FadeInOutLoop_animationpara &para)
{
	read_cycle(bytes, para);
	para.in_alpha = number(bytes);
	para.out_alpha = number(bytes);
}

void read_own(Bytes &bytes, Arrays &, GraduallyDispLoop_animationpara &para)
{
	read_cycle(bytes, para);
	para.in_alpha = number(bytes);
	para.out_alpha = number(bytes);
	para.gmode_show = bytes.one_of<GraduallyDispMode>(GRAD_MAX + 2);
	para.gmode_hide = bytes.one_of<GraduallyDispMode>(GRAD_MAX + 2);
}

void read_own(Bytes &bytes, Arrays &, SeqLoop_animationpara &para)
{
	read_cycle(bytes, para);
	para.seq_show = bytes.one_of<SEQUENCE_TYPE>(SEQ_MAX + 2);
	para.seq_hide = bytes.one_of<SEQUENCE_TYPE>(SEQ_MAX + 2);
}

void read_own(Bytes &bytes, Arrays &arrays, VideoGST_animationpara &para)
{
	BufferInfoGST &frame = arrays.descriptor;
	frame.width = duration(bytes);
	frame.height = duration(bytes);
	frame.crop = {duration(bytes), duration(bytes), duration(bytes), duration(bytes)};
	para.bufinfo = bytes.below(4) ? &frame : nullptr;
}

void read_own(Bytes &bytes, Arrays &arrays, VideoRAW_animationpara &para)
{
	BufferInfoRAW &frame = arrays.planes;
	frame.width = bytes.below(kMaxPicture);
	frame.height = bytes.below(kMaxPicture);
	frame.stride = frame.width + bytes.below(4);
	frame.praw = pixels.emplace_back(std::size_t{2} * frame.stride * frame.height + 1).data();
	para.bufinfo = bytes.below(4) ? &frame : nullptr;
}

/* ---- Calls ---------------------------------------------------------------------------------- */

/* A record of the type, in which what is not read is zero; call(record) is made with it. */
template <class Para, class Call>
void with_record(Bytes &bytes, Call call)
{
	static Para para;
	para = {};
	Arrays arrays;
	read_strip(bytes, arrays, para.in_position2d);
	if constexpr (requires { para.textures; })
		read_textures(bytes, para.textures);
	else
		para.texcoord = para.in_position2d.position2d;
	read_own(bytes, arrays, para);
	para.update = bytes.one_of<UpdateMode>(UPD_ALL + 1);
	call(&para);
}

template <class Call>
void with_record_of(AnimationType type, Bytes &bytes, Call call)
{
	switch (type) {
	case ANI_BACKGROUND:
		return with_record<Backgroud_animationpara>(bytes, call);
	case ANI_FLASH:
	case ANI_TEX_CUT:
		return with_record<Flash_animationpara>(bytes, call);
	case ANI_FADEINOUT:
	case ANI_CHARACTERISTIC:
		return with_record<FadeInOutLoop_animationpara>(bytes, call);
	case ANI_GRADUALLYDISP:
		return with_record<GraduallyDispLoop_animationpara>(bytes, call);
	case ANI_SEQUENCE:
		return with_record<SeqLoop_animationpara>(bytes, call);
	case ANI_VIDEO_GST:
		return with_record<VideoGST_animationpara>(bytes, call);
	case ANI_VIDEO_RAW:
		return with_record<VideoRAW_animationpara>(bytes, call);
	default:
		return call(nullptr);
	}
}

/* One turn; no number of swapped frames is one at which reports are due. */
void turn()
{
	draw_turn(fuzz_window());
	gpuRender_framecnt = 1;
}

void create(Bytes &bytes)
{
	if (FindAnimationObj(kMaxObjects - 1))
		return;
	const auto type = bytes.one_of<AnimationType>(ANI_MAX + 1);
	with_record_of(type, bytes, [&](void *para) { CreateAnimationObj(type, para); });
}

void update(Bytes &bytes)
{
	const unsigned int id = bytes.below(kIds);
	const AnimationObj *obj = FindAnimationObj(id);
	if (!obj)
		return UpdateAnimationObj(id, nullptr);
	with_record_of(obj->animationtype, bytes, [&](void *para) { UpdateAnimationObj(id, para); });
}

void call_next(Bytes &bytes)
{
	switch (bytes.below(5)) {
	case 0:
		return create(bytes);
	case 1:
		return update(bytes);
	case 2: {
		const unsigned int id = bytes.below(kIds);
		return RemoveAnimationObj(id, bytes.one_of<DeleteObjMode>(2));
	}
	case 3: {
		const unsigned int id = bytes.below(kIds);
		const bool exists = FindAnimationObj(id);
		if (exists == (GetAnimationObjStatus(id) == ST_INVALID) ||
		    (exists && GenAnimationObjId() == id))
			abort();
		return;
	}
	default:
		for (unsigned int turns = bytes.below(8) + 1; turns; turns--)
			turn();
		return;
	}
}

/* Videos wait for the backgrounds to go. */
void remove_everything()
{
	for (int round = 0; round < 2; round++) {
		for (const AnimationObj *obj = animationItemHead; obj; obj = obj->next)
			RemoveAnimationObj(obj->objId, DEL_IMMEDIATELY);
		turn();
	}
	if (animationItemHead)
		abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	fuzz_window();
	for (GLuint &handle : handles)
		if (!handle)
			handle = CreateTexture(1, 1, GL_BGRA_EXT, nullptr);
	for (Bytes bytes = {{data, size}}; !bytes.empty();)
		call_next(bytes);
	remove_everything();
	pixels.clear();
	require_clean_gl(handles.size());
	return 0;
}
