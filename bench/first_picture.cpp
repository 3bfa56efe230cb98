/*
 * How long an application takes from its start to its first picture on the compositor, and where
 * the time goes, with an empty shader cache and with a filled one.
 *
 * The program starts itself again as the application, which shows a picture from a PNG file. The
 * functions of the library that it defines below note the time on the way to the library's own.
 *
 * usage: first_picture [STARTS] [PICTURE.png]
 */
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <animation/animation.h>
#include <host/compositor.h>
#include <probe/next_function.h>
#include <render/render.h>

namespace
{

/* In the order in which they are passed; each is told by the time since the one before. */
enum Mark {
	kStart,
	kMain,
	kThread,
	kEgl,
	kSurface,
	kPrograms,
	kLoop,
	kInitEnd,
	kDecode,
	kDecoded,
	kSwap,
	kCommit,
	kMarks,
};

constexpr const char *kNames[kMarks] = {
    "",
    "load the program and its libraries",
    "Init, until its thread runs",
    "connection: connect, globals",
    "EGL: display and driver, config, context",
    "EGL: surface, made current",
    "programs",
    "first turn, with its sleep; shared context",
    "creation, until the next turn",
    "picture: read, decode, upload",
    "draw",
    "swap, until the compositor has it",
};

using Marks = std::array<double, kMarks>; /* milliseconds of the one clock of all processes */

double now_ms()
{
	const auto now = std::chrono::steady_clock::now().time_since_epoch();
	return std::chrono::duration<double, std::milli>(now).count();
}

/* ---- The application ------------------------------------------------------------------------ */

Marks marks;
std::atomic<bool> swapped;

void pass(Mark mark)
{
	if (marks[mark] == 0)
		marks[mark] = now_ms();
}

int show_picture(const char *picture, int report)
{
	pass(kMain);
	Init();
	pass(kInitEnd);
	float strip[] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	Backgroud_animationpara para = {};
	para.in_position2d.coordnum = 4;
	para.in_position2d.position2d = strip;
	para.textures.mode = TEX_PNG;
	strncpy(para.textures.textures_name[0], picture, sizeof(para.textures.textures_name[0]) - 1);
	para.textures.tex_num = 1;
	para.textures.mask_index = para.textures.alpha_index = ANIMATION_NO_TEXTURE;
	CreateAnimationObj(ANI_BACKGROUND, &para);
	while (!swapped)
		usleep(1000);
	const bool told = write(report, marks.data(), sizeof(marks)) == sizeof(marks);
	DeInit();
	return told ? 0 : 1;
}

/* ---- The compositor ------------------------------------------------------------------------- */

struct Session {
	CompositorPtr compositor;
	std::atomic<double> first_commit{0};
};

bool start_session(Session &session)
{
	std::string error;
	CompositorOptions options;
	options.on_picture = [&session](const Picture &) {
		double none = 0;
		session.first_commit.compare_exchange_strong(none, now_ms());
	};
	session.compositor = open_compositor(std::move(options), &error);
	if (!session.compositor) {
		fprintf(stderr, "first_picture: %s\n", error.c_str());
		return false;
	}
	start_compositor_thread(*session.compositor);
	setenv("XDG_RUNTIME_DIR", compositor_folder(*session.compositor).c_str(), 1);
	setenv("WAYLAND_DISPLAY", compositor_socket(*session.compositor).c_str(), 1);
	return true;
}

/* One start, from before the process exists until its picture has come. */
bool measure_start(const char *self, const char *picture, Marks *result)
{
	Session session;
	int report[2];
	if (!start_session(session) || pipe(report) != 0)
		return false;
	const std::string descriptor = std::to_string(report[1]);
	char *const arguments[] = {const_cast<char *>(self), const_cast<char *>("--application"),
	    const_cast<char *>(picture), const_cast<char *>(descriptor.c_str()), nullptr};
	const double start = now_ms();
	posix_spawn_file_actions_t silence; /* of what Init prints */
	posix_spawn_file_actions_init(&silence);
	posix_spawn_file_actions_addopen(&silence, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
	pid_t process;
	bool done = posix_spawn(&process, self, &silence, nullptr, arguments, environ) == 0;
	posix_spawn_file_actions_destroy(&silence);
	close(report[1]);
	if (done) {
		done = read(report[0], result->data(), sizeof(*result)) == sizeof(*result);
		int status = 0;
		waitpid(process, &status, 0);
		done = done && status == 0;
	}
	close(report[0]);
	(*result)[kStart] = start;
	(*result)[kCommit] = session.first_commit;
	return done;
}

double median(std::vector<double> values)
{
	std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
	return values[values.size() / 2];
}

/* The medians of each step, and last that of the whole. */
std::array<double, kMarks> medians(const std::vector<Marks> &starts)
{
	std::array<double, kMarks> result = {};
	for (int mark = kMain; mark <= kMarks; mark++) {
		std::vector<double> values;
		for (const Marks &start : starts)
			values.push_back(
			    mark < kMarks ? start[mark] - start[mark - 1] : start[kCommit] - start[kStart]);
		result[mark % kMarks] = median(values);
	}
	return result;
}

void print(const std::array<double, kMarks> &cold, const std::array<double, kMarks> &warm)
{
	printf(
	    "%-44s %9s %9s %7s %9s\n", "milliseconds, medians", "cold", "warm", "share", "cold/warm");
	for (int row = kMain; row <= kMarks; row++) {
		const int mark = row % kMarks;
		printf("%-44s %9.2f %9.2f %6.0f%% %9.2f\n", mark ? kNames[mark] : "start to first commit",
		    cold[mark], warm[mark], 100 * warm[mark] / warm[kStart], cold[mark] / warm[mark]);
	}
}

int compare_caches(const char *self, int starts, const char *picture)
{
	std::string cache = (std::filesystem::temp_directory_path() / "first-picture-XXXXXX").string();
	if (!mkdtemp(cache.data()))
		return 1;
	setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
	setenv("MESA_SHADER_CACHE_DIR", cache.c_str(), 1);
	std::vector<Marks> cold(starts);
	std::vector<Marks> warm(starts);
	bool done = true;
	for (int i = 0; i < starts && done; i++) { /* in turns: a busy machine slows both down */
		std::filesystem::remove_all(cache);
		std::filesystem::create_directory(cache);
		done = measure_start(self, picture, &cold[i]) && measure_start(self, picture, &warm[i]);
	}
	std::filesystem::remove_all(cache);
	if (done)
		print(medians(cold), medians(warm));
	else
		fprintf(stderr, "first_picture: an application has failed\n");
	return done ? 0 : 1;
}

} // namespace

/* ---- In front of the library, in the order of a start --------------------------------------- */

void *main_thread(void *unused)
{
	static const auto next = next_function(&main_thread, "main_thread");
	pass(kThread);
	return next(unused);
}

void init_egl(struct display *display, struct window *window)
{
	static const auto next = next_function(&init_egl, "init_egl");
	pass(kEgl);
	next(display, window);
}

void create_surface(struct window *window)
{
	static const auto next = next_function(&create_surface, "create_surface");
	pass(kSurface);
	next(window);
}

void init_gl(struct window *window)
{
	static const auto next = next_function(&init_gl, "init_gl");
	pass(kPrograms);
	next(window);
	pass(kLoop);
}

int load_texture_png(GLuint tex, const char *filename)
{
	static const auto next = next_function(&load_texture_png, "load_texture_png");
	pass(kDecode);
	const int result = next(tex, filename);
	pass(kDecoded);
	return result;
}

EGLBoolean eglSwapBuffers(EGLDisplay dpy, EGLSurface surface)
{
	static const auto next = next_function(&eglSwapBuffers, "eglSwapBuffers");
	pass(kSwap);
	const EGLBoolean result = next(dpy, surface);
	swapped = true;
	return result;
}

int main(int argc, char **argv)
{
	if (argc == 4 && strcmp(argv[1], "--application") == 0)
		return show_picture(argv[2], atoi(argv[3]));
	const int starts = argc > 1 ? atoi(argv[1]) : 7;
	if (starts < 1) {
		fprintf(stderr, "usage: first_picture [STARTS] [PICTURE.png]\n");
		return 2;
	}
	return compare_caches("/proc/self/exe", starts, argc > 2 ? argv[2] : FIRST_PICTURE);
}
