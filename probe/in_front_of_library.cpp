/* In front of what an application calls: each call is told with the frame that comes after it. */
#include <chrono>

#include <player/player.h>
#include <probe/checks.h>
#include <probe/describe.h>
#include <probe/findings.h>
#include <probe/frame_log.h>
#include <probe/frames.h>
#include <probe/inside_call.h>
#include <probe/marks.h>
#include <probe/next_function.h>
#include <probe/playback_log.h>
#include <probe/textures.h>
#include <probe/wire.h>
#include <render/render.h>

namespace
{

/* True for a call of the application that somebody wants to know of. */
bool is_told()
{
	return is_heard() && call_depth == 0 && is_watched();
}

/* True for a call of the application that is to be checked. */
bool is_checked()
{
	return call_depth == 0 && is_checking() && is_heard();
}

/* The library takes NULL for a file that is not there. */
std::string name_text(const char *name)
{
	return name ? name : "NULL";
}

std::string id_text(unsigned int id)
{
	return id == ANIMATION_NO_OBJECT ? "none" : std::to_string(id);
}

/* ---- By the kind of call -------------------------------------------------------------------- */

template <class Create, class... Arguments>
unsigned int tell_creation(const char *name, const std::string &arguments, AnimationType type,
    const void *para, Create create, Arguments... values)
{
	const bool told = is_told();
	const bool checked = is_checked() && check_time(name);
	const InsideCall inside;
	if (is_heard() && call_depth == 1)
		pass_mark(Mark::kCreate);
	if (checked)
		check_creation(name, type, para);
	const unsigned int id = create(values...);
	if (is_heard() && call_depth == 1)
		count(id == ANIMATION_NO_OBJECT ? Fate::kRefused : Fate::kCreated);
	if (checked)
		note_creation(id, type, para);
	if (told)
		note_call(name, id, std::string(name) + '(' + arguments + ") = " + id_text(id));
	return id;
}

/* All records have the field. Read before the call, which may reset it. */
template <class Para>
void tell_update(const char *name, AnimationType type, void (*update)(unsigned int, Para *),
    unsigned int id, Para *para)
{
	if (is_checked() && check_time(name))
		check_update(name, id, type, para);
	if (is_told())
		note_call(name, id,
		    std::string(name) + '(' + id_text(id) + ", " +
		        (para ? update_text(para->update) : "NULL") + ')');
	if (is_heard() && call_depth == 0)
		count(Fate::kUpdated);
	const InsideCall inside;
	update(id, para);
}

/* Whose record it is only the object tells. */
std::string update_text_of(unsigned int id, const void *para)
{
	static const auto find = find_symbol<decltype(FindAnimationObj)>("FindAnimationObj");
	static auto *const mutex = find_symbol<pthread_mutex_t>("g_mutex");
	pthread_mutex_lock(mutex);
	const AnimationObj *obj = find(id);
	const std::string text = obj && para ? update_text(update_of(obj->animationtype, para))
	                         : para      ? "?"
	                                     : "NULL";
	pthread_mutex_unlock(mutex);
	return text;
}

using Clock = std::chrono::steady_clock;

/* Only the bytes of this thread's uploads could be told apart, and others seldom come between. */
template <class Load, class... Arguments>
auto tell_picture(const char *file, Load load, Arguments... values)
{
	if (!is_heard() || !is_watched())
		return load(values...);
	const std::uint64_t before = texture_bytes().alive;
	const Clock::time_point start = Clock::now();
	const auto result = load(values...);
	const std::chrono::duration<double, std::milli> taken = Clock::now() - start;
	const std::uint64_t after = texture_bytes().alive;
	note_picture(name_text(file).c_str(), taken.count(), after > before ? after - before : 0);
	return result;
}

template <class Make, class... Arguments>
GLuint tell_handle(const char *name, const std::string &arguments, Make make, Arguments... values)
{
	if (is_checked() && check_time(name))
		check_handle_thread(name);
	const bool told = is_told();
	const InsideCall inside;
	const GLuint handle = make(values...);
	if (told)
		note_call(name, ANIMATION_NO_OBJECT,
		    std::string(name) + '(' + arguments +
		        ") = " + (handle == ANIMATION_NO_HANDLE ? "none" : std::to_string(handle)));
	return handle;
}

} // namespace

/* ---- Life cycle ----------------------------------------------------------------------------- */

void Init(void)
{
	static const auto next = next_function(&Init, "Init");
	if (is_told())
		note_call("Init", ANIMATION_NO_OBJECT, "Init()");
	if (is_heard())
		pass_mark(Mark::kLoad);
	next();
	if (is_heard())
		pass_mark(Mark::kFirstTurn);
	if (is_checked())
		note_init();
}

/* Each of these ends the step before it. */
void *main_thread(void *unused)
{
	static const auto next = next_function(&main_thread, "main_thread");
	if (is_heard())
		pass_mark(Mark::kStartThread);
	return next(unused);
}

void init_egl(struct display *display, struct window *window)
{
	static const auto next = next_function(&init_egl, "init_egl");
	if (is_heard())
		pass_mark(Mark::kConnect);
	next(display, window);
}

void create_surface(struct window *window)
{
	static const auto next = next_function(&create_surface, "create_surface");
	if (is_heard())
		pass_mark(Mark::kEgl);
	next(window);
	if (is_heard())
		pass_mark(Mark::kSurface);
}

void init_gl(struct window *window)
{
	static const auto next = next_function(&init_gl, "init_gl");
	next(window);
	if (is_heard())
		pass_mark(Mark::kPrograms);
}

void DeInit(void)
{
	static const auto next = next_function(&DeInit, "DeInit");
	if (is_checked())
		check_deinit();
	next();
	if (is_heard())
		tell_end();
}

/* ---- Objects -------------------------------------------------------------------------------- */

unsigned int CreateAnimationObj(AnimationType type, void *para)
{
	static const auto next = next_function(&CreateAnimationObj, "CreateAnimationObj");
	return tell_creation("CreateAnimationObj", is_told() ? type_name(type) : std::string(), type,
	    para, next, type, para);
}

void UpdateAnimationObj(unsigned int id, void *para)
{
	static const auto next = next_function(&UpdateAnimationObj, "UpdateAnimationObj");
	if (is_told())
		note_call("UpdateAnimationObj", id,
		    "UpdateAnimationObj(" + id_text(id) + ", " + update_text_of(id, para) + ')');
	if (is_heard())
		count(Fate::kUpdated);
	note_update();
	if (is_checked() && check_time("UpdateAnimationObj"))
		check_update("UpdateAnimationObj", id, ANI_MAX, para);
	const InsideCall inside;
	next(id, para);
}

void RemoveAnimationObj(unsigned int id, DeleteObjMode mode)
{
	static const auto next = next_function(&RemoveAnimationObj, "RemoveAnimationObj");
	if (is_told())
		note_call("RemoveAnimationObj", id,
		    "RemoveAnimationObj(" + id_text(id) + ", " + removal_text(mode) + ')');
	if (is_heard())
		count(Fate::kRemoved);
	if (is_checked() && check_time("RemoveAnimationObj"))
		check_removal("RemoveAnimationObj", id, mode);
	next(id, mode);
}

void RemoveAnimationObjReal(unsigned int id)
{
	static const auto next = next_function(&RemoveAnimationObjReal, "RemoveAnimationObjReal");
	if (is_heard())
		count(Fate::kFreed);
	next(id);
}

AnimationStatus GetAnimationObjStatus(unsigned int id)
{
	static const auto next = next_function(&GetAnimationObjStatus, "GetAnimationObjStatus");
	if (is_checked() && check_time("GetAnimationObjStatus"))
		check_query("GetAnimationObjStatus", id);
	return next(id);
}

/* ---- Objects, type by type ------------------------------------------------------------------ */

#define IN_FRONT_OF_TYPE(Type, number, Para)                                                       \
	unsigned int Create##Type##Animation(Para para)                                                \
	{                                                                                              \
		static const auto next =                                                                   \
		    next_function(&Create##Type##Animation, "Create" #Type "Animation");                   \
		return tell_creation("Create" #Type "Animation", "", number, para, next, para);            \
	}                                                                                              \
	void Update##Type##Animation(unsigned int id, Para para)                                       \
	{                                                                                              \
		static const auto next =                                                                   \
		    next_function(&Update##Type##Animation, "Update" #Type "Animation");                   \
		tell_update("Update" #Type "Animation", number, next, id, para);                           \
	}

IN_FRONT_OF_TYPE(Background, ANI_BACKGROUND, Backgroud_animationpara *)
IN_FRONT_OF_TYPE(Flash, ANI_FLASH, Flash_animationpara *)
IN_FRONT_OF_TYPE(TexCut, ANI_TEX_CUT, TexCut_animationpara *)
IN_FRONT_OF_TYPE(FadeInOutLoop, ANI_FADEINOUT, FadeInOutLoop_animationpara *)
IN_FRONT_OF_TYPE(GraduallyDispLoop, ANI_GRADUALLYDISP, GraduallyDispLoop_animationpara *)
IN_FRONT_OF_TYPE(SeqLoop, ANI_SEQUENCE, SeqLoop_animationpara *)
IN_FRONT_OF_TYPE(VideoGST, ANI_VIDEO_GST, VideoGST_animationpara *)
IN_FRONT_OF_TYPE(VideoRAW, ANI_VIDEO_RAW, VideoRAW_animationpara *)

/* ---- Texture handles and image files -------------------------------------------------------- */

GLuint CreateTexture(int width, int height, int textureType, const void *data)
{
	static const auto next = next_function(&CreateTexture, "CreateTexture");
	const std::string arguments =
	    is_told() ? std::to_string(width) + ", " + std::to_string(height) : std::string();
	return tell_handle("CreateTexture", arguments, next, width, height, textureType, data);
}

GLuint CreateTextureByName(const char *tex_fname)
{
	static const auto next = next_function(&CreateTextureByName, "CreateTextureByName");
	if (is_checked())
		check_picture_file("CreateTextureByName", tex_fname, TEX_BMP);
	return tell_handle(
	    "CreateTextureByName", name_text(tex_fname),
	    [&](const char *file) { return tell_picture(file, next, file); }, tex_fname);
}

GLuint CreateTextureByPng(const char *tex_fname)
{
	static const auto next = next_function(&CreateTextureByPng, "CreateTextureByPng");
	if (is_checked())
		check_picture_file("CreateTextureByPng", tex_fname, TEX_PNG);
	return tell_handle(
	    "CreateTextureByPng", name_text(tex_fname),
	    [&](const char *file) { return tell_picture(file, next, file); }, tex_fname);
}

void DeleteTexture(GLuint tex)
{
	static const auto next = next_function(&DeleteTexture, "DeleteTexture");
	if (is_told())
		note_call(
		    "DeleteTexture", ANIMATION_NO_OBJECT, "DeleteTexture(" + std::to_string(tex) + ')');
	if (is_checked() && check_time("DeleteTexture")) {
		check_handle_thread("DeleteTexture");
		check_texture_deletion(tex);
	}
	next(tex);
}

int load_texture_bmp(GLuint tex, const char *filename)
{
	static const auto next = next_function(&load_texture_bmp, "load_texture_bmp");
	return tell_picture(filename, next, tex, filename);
}

int load_texture_png(GLuint tex, const char *filename)
{
	static const auto next = next_function(&load_texture_png, "load_texture_png");
	return tell_picture(filename, next, tex, filename);
}

/* ---- The player ----------------------------------------------------------------------------- */

int StartGSTPlay(const char *uri)
{
	static const auto next = next_function(&StartGSTPlay, "StartGSTPlay");
	if (is_heard() && uri)
		note_playback_request(uri);
	const bool told = is_told();
	const int result = next(uri);
	if (is_checked() && uri && check_time("StartGSTPlay"))
		note_playback(uri, result);
	if (told && uri)
		note_call("StartGSTPlay", ANIMATION_NO_OBJECT,
		    std::string("StartGSTPlay(") + uri + ") = " + std::to_string(result));
	return result;
}

void StopGSTPlay(void)
{
	static const auto next = next_function(&StopGSTPlay, "StopGSTPlay");
	if (is_told())
		note_call("StopGSTPlay", ANIMATION_NO_OBJECT, "StopGSTPlay()");
	note_playback_stop();
	next();
}

void GSTplayControl(GSTControl order)
{
	static const auto next = next_function(&GSTplayControl, "GSTplayControl");
	if (is_told())
		note_call("GSTplayControl", ANIMATION_NO_OBJECT,
		    order == GST_PAUSE ? "GSTplayControl(GST_PAUSE)" : "GSTplayControl(GST_PLAY)");
	note_playback_control(order == GST_PAUSE);
	if (is_checked() && check_time("GSTplayControl"))
		check_control(order);
	next(order);
}

int SetGSTPlayAnimationId(unsigned int id1, void *para1, unsigned int id2, void *para2)
{
	static const auto next = next_function(&SetGSTPlayAnimationId, "SetGSTPlayAnimationId");
	if (is_told())
		note_call("SetGSTPlayAnimationId", id1,
		    "SetGSTPlayAnimationId(" + id_text(id1) + ", " + id_text(id2) + ')');
	return next(id1, para1, id2, para2);
}

/* On its thread: a playback runs from here to the return. */
void *message_thread(void *arg)
{
	static const auto next = next_function(&message_thread, "message_thread");
	note_playback_start();
	const InsideCall inside;
	void *result = next(arg);
	note_playback_end();
	return result;
}

GstFlowReturn pad_new_sample(GstElement *sink, CustomData *dataplayer)
{
	static const auto next = next_function(&pad_new_sample, "pad_new_sample");
	begin_delivery();
	const InsideCall inside;
	const GstFlowReturn result = next(sink, dataplayer);
	end_delivery();
	return result;
}
