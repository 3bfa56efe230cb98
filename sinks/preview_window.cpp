#include <sinks/preview_window.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include <SDL.h>

namespace
{

constexpr Uint64 kTitleInterval = 500;             /* milliseconds */
constexpr std::chrono::milliseconds kReaction{20}; /* to what the user does */
constexpr Uint64 kHelpTime = 8000;                 /* milliseconds */
constexpr char kHelp[] =
    " - space: pause, .: one frame, s: snapshot, f: full screen, Esc: leave it";
constexpr std::string_view kOrders = " .s";
constexpr double kScreenShare = 0.95; /* leaves room for the window's frame */

/* Of the window's thread. */
struct View {
	SDL_Window *window = nullptr;
	SDL_Renderer *renderer = nullptr;
	SDL_Texture *texture = nullptr;
	Uint64 titled_at = 0; /* when the title was last written, and after how many */
	Uint64 titled_pictures = 0;
	Uint64 help_until = 0; /* the title tells the keys */
};

enum class State { opening, open, closed, failed };

void copy_rows(const Picture &picture, std::vector<unsigned char> *pixels)
{
	const std::size_t row = static_cast<std::size_t>(picture.width) * 4;
	pixels->resize(row * picture.height);
	for (int y = 0; y < picture.height; y++)
		memcpy(pixels->data() + y * row, picture.pixels + y * picture.stride, row);
}

} // namespace

struct PreviewWindow {
	int width;
	int height;
	std::thread thread;

	std::mutex mutex; /* guards what follows */
	std::string title;
	std::condition_variable changed;
	State state = State::opening;
	std::string failure;
	std::vector<unsigned char> pixels; /* of the newest picture, without gaps */
	std::string keys;                  /* not taken yet */
	Uint64 pictures = 0;
	bool ending = false;
};

namespace
{

/* ---- On the window's thread ---- */

SDL_Rect size_on_screen(int width, int height)
{
	SDL_Rect screen = {};
	double scale = 1;
	if (SDL_GetDisplayUsableBounds(0, &screen) == 0)
		scale = std::min({1.0, kScreenShare * screen.w / width, kScreenShare * screen.h / height});
	return {0, 0, std::max(1, static_cast<int>(width * scale)),
	    std::max(1, static_cast<int>(height * scale))};
}

/* Where SDL finds no display it opens windows in memory, unless it is told to use nothing else. */
bool is_seen(std::string_view driver)
{
	return driver != "offscreen" && driver != "dummy";
}

bool create_view(const PreviewWindow &preview, View &view)
{
	SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1"); /* Ctrl-C is the program's business */
	SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
	SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
	if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0)
		return false;
	if (!SDL_getenv("SDL_VIDEODRIVER") && !is_seen(SDL_GetCurrentVideoDriver())) {
		SDL_SetError("there is no display");
		return false;
	}
	const int width = preview.width, height = preview.height;
	const SDL_Rect size = size_on_screen(width, height);
	view.window = SDL_CreateWindow(preview.title.c_str(), SDL_WINDOWPOS_CENTERED,
	    SDL_WINDOWPOS_CENTERED, size.w, size.h, SDL_WINDOW_RESIZABLE);
	view.renderer = view.window ? SDL_CreateRenderer(view.window, -1, 0) : nullptr;
	if (!view.renderer || SDL_RenderSetLogicalSize(view.renderer, width, height) != 0)
		return false;
	/* B, G, R, X in memory is this number format on every machine we run on. */
	view.texture = SDL_CreateTexture(
	    view.renderer, SDL_PIXELFORMAT_RGB888, SDL_TEXTUREACCESS_STREAMING, width, height);
	SDL_StartTextInput();
	view.titled_at = SDL_GetTicks64();
	return view.texture;
}

void destroy_view(View &view)
{
	if (view.texture)
		SDL_DestroyTexture(view.texture);
	if (view.renderer)
		SDL_DestroyRenderer(view.renderer);
	if (view.window)
		SDL_DestroyWindow(view.window);
	SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

void update_title(View &view, const std::string &title, Uint64 pictures)
{
	const Uint64 now = SDL_GetTicks64();
	if (now - view.titled_at < kTitleInterval)
		return;
	const double rate = 1000.0 * static_cast<double>(pictures - view.titled_pictures) /
	                    static_cast<double>(now - view.titled_at);
	char counts[64];
	snprintf(counts, sizeof(counts), " - frame %llu, %.1f/s",
	    static_cast<unsigned long long>(pictures), rate);
	const bool helps = now < view.help_until;
	SDL_SetWindowTitle(view.window, (title + (helps ? kHelp : counts)).c_str());
	view.titled_at = now;
	view.titled_pictures = pictures;
}

bool redraw(View &view)
{
	if (SDL_RenderClear(view.renderer) != 0 ||
	    SDL_RenderCopy(view.renderer, view.texture, nullptr, nullptr) != 0)
		return false;
	SDL_RenderPresent(view.renderer);
	return true;
}

void set_full_screen(View &view, bool full)
{
	SDL_SetWindowFullscreen(view.window, full ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0);
}

/* What a key types; the keyboard's layout says where it is. */
void handle_text(PreviewWindow &preview, View &view, char key)
{
	if (key == 'f') {
		set_full_screen(view, !(SDL_GetWindowFlags(view.window) & SDL_WINDOW_FULLSCREEN_DESKTOP));
	} else if (key == '?') {
		view.help_until = SDL_GetTicks64() + kHelpTime;
	} else if (kOrders.find(key) != kOrders.npos) {
		std::lock_guard lock(preview.mutex);
		preview.keys += key;
	}
}

/* False once the user has closed the window. */
bool handle_events(PreviewWindow &preview, View &view)
{
	bool open = true;
	SDL_Event event;
	while (SDL_PollEvent(&event)) {
		if (event.type == SDL_QUIT ||
		    (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_CLOSE))
			open = false;
		else if (event.type == SDL_WINDOWEVENT &&
		         (event.window.event == SDL_WINDOWEVENT_EXPOSED ||
		             event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED))
			redraw(view);
		else if (event.type == SDL_KEYDOWN && event.key.keysym.sym == SDLK_ESCAPE)
			set_full_screen(view, false);
		else if (event.type == SDL_TEXTINPUT)
			handle_text(preview, view, event.text.text[0]);
	}
	return open;
}

void set_state(PreviewWindow &preview, State state)
{
	std::lock_guard lock(preview.mutex);
	if (state == State::failed)
		preview.failure = SDL_GetError();
	preview.state = state;
	preview.changed.notify_all();
}

/* Shows the newest picture over and over until the end. */
State show_pictures(PreviewWindow &preview, View &view)
{
	Uint64 shown = 0;
	std::unique_lock lock(preview.mutex);
	while (!preview.ending) {
		preview.changed.wait_for(lock, kReaction,
		    [&preview, shown] { return preview.ending || preview.pictures != shown; });
		const Uint64 newest = preview.pictures;
		const std::string title = preview.title;
		if (newest != shown &&
		    SDL_UpdateTexture(view.texture, nullptr, preview.pixels.data(), preview.width * 4) != 0)
			return State::failed;
		lock.unlock();
		if (newest != shown && !redraw(view))
			return State::failed;
		shown = newest;
		update_title(view, title, newest);
		if (!handle_events(preview, view))
			return State::closed;
		lock.lock();
	}
	return State::closed;
}

void run_window(PreviewWindow &preview)
{
	View view;
	if (create_view(preview, view)) {
		set_state(preview, State::open);
		set_state(preview, show_pictures(preview, view));
	} else {
		set_state(preview, State::failed);
	}
	destroy_view(view);
	SDL_TLSCleanup(); /* what SDL keeps for a thread, it frees for its own threads alone */
}

} // namespace

/* ---- On the caller's ---- */

PreviewWindowPtr open_preview_window(
    const std::string &title, int width, int height, std::string *error)
{
	PreviewWindowPtr preview(new PreviewWindow{.width = width, .height = height, .title = title});
	preview->thread = std::thread([window = preview.get()] { run_window(*window); });
	std::unique_lock lock(preview->mutex);
	preview->changed.wait(lock, [&preview] { return preview->state != State::opening; });
	if (preview->state != State::failed)
		return preview;
	*error = "cannot open a window: " + preview->failure;
	lock.unlock();
	return nullptr;
}

void set_preview_title(PreviewWindow &preview, const std::string &title)
{
	std::lock_guard lock(preview.mutex);
	preview.title = title;
}

bool preview_picture(PreviewWindow &preview, const Picture &picture, std::string *error)
{
	std::lock_guard lock(preview.mutex);
	if (preview.state == State::failed) {
		*error = "cannot draw in the window: " + preview.failure;
		return false;
	}
	copy_rows(picture, &preview.pixels);
	preview.pictures++;
	preview.changed.notify_all();
	return true;
}

bool take_preview_key(PreviewWindow &preview, char *key)
{
	std::lock_guard lock(preview.mutex);
	if (preview.keys.empty())
		return false;
	*key = preview.keys.front();
	preview.keys.erase(0, 1);
	return true;
}

void use_preview(PreviewWindow &preview, const std::function<void(const Picture &)> &call)
{
	std::lock_guard lock(preview.mutex);
	if (preview.pictures)
		call({.pixels = preview.pixels.data(),
		    .width = preview.width,
		    .height = preview.height,
		    .stride = static_cast<std::size_t>(preview.width) * 4});
}

bool is_preview_closed(PreviewWindow &preview)
{
	std::lock_guard lock(preview.mutex);
	return preview.state == State::closed;
}

void PreviewWindowDeleter::operator()(PreviewWindow *preview) const
{
	{
		std::lock_guard lock(preview->mutex);
		preview->ending = true;
		preview->changed.notify_all();
	}
	if (preview->thread.joinable())
		preview->thread.join();
	delete preview;
}
