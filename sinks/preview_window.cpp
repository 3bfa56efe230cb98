#include <sinks/preview_window.h>

#include <algorithm>
#include <cstdio>
#include <string_view>

#include <SDL.h>

static constexpr Uint64 kTitleInterval = 500; /* milliseconds */
static constexpr double kScreenShare = 0.95;  /* leaves room for the window's frame */

struct PreviewWindow {
	std::string title;
	SDL_Window *window = nullptr;
	SDL_Renderer *renderer = nullptr;
	SDL_Texture *texture = nullptr;
	Uint64 pictures = 0;
	Uint64 titled_at = 0; /* when the title was last written, and after how many */
	Uint64 titled_pictures = 0;
	bool closed = false;
};

static SDL_Rect size_on_screen(int width, int height)
{
	SDL_Rect screen = {};
	double scale = 1;
	if (SDL_GetDisplayUsableBounds(0, &screen) == 0)
		scale = std::min({1.0, kScreenShare * screen.w / width, kScreenShare * screen.h / height});
	return {0, 0, std::max(1, static_cast<int>(width * scale)),
	    std::max(1, static_cast<int>(height * scale))};
}

/* Where SDL finds no display it opens windows in memory, unless it is told to use nothing else. */
static bool is_seen(std::string_view driver)
{
	return driver != "offscreen" && driver != "dummy";
}

static bool create_window(PreviewWindow &preview, int width, int height)
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
	const SDL_Rect size = size_on_screen(width, height);
	preview.window = SDL_CreateWindow(preview.title.c_str(), SDL_WINDOWPOS_CENTERED,
	    SDL_WINDOWPOS_CENTERED, size.w, size.h, SDL_WINDOW_RESIZABLE);
	preview.renderer = preview.window ? SDL_CreateRenderer(preview.window, -1, 0) : nullptr;
	if (!preview.renderer || SDL_RenderSetLogicalSize(preview.renderer, width, height) != 0)
		return false;
	/* B, G, R, X in memory is this number format on every machine we run on. */
	preview.texture = SDL_CreateTexture(
	    preview.renderer, SDL_PIXELFORMAT_RGB888, SDL_TEXTUREACCESS_STREAMING, width, height);
	return preview.texture;
}

PreviewWindowPtr open_preview_window(
    const std::string &title, int width, int height, std::string *error)
{
	PreviewWindowPtr preview(new PreviewWindow{.title = title, .titled_at = SDL_GetTicks64()});
	if (!create_window(*preview, width, height)) {
		*error = std::string("cannot open a window: ") + SDL_GetError();
		return nullptr;
	}
	return preview;
}

static void update_title(PreviewWindow &preview)
{
	const Uint64 now = SDL_GetTicks64();
	if (now - preview.titled_at < kTitleInterval)
		return;
	const double rate = 1000.0 * static_cast<double>(preview.pictures - preview.titled_pictures) /
	                    static_cast<double>(now - preview.titled_at);
	char counts[64];
	snprintf(counts, sizeof(counts), " - frame %llu, %.1f/s",
	    static_cast<unsigned long long>(preview.pictures), rate);
	SDL_SetWindowTitle(preview.window, (preview.title + counts).c_str());
	preview.titled_at = now;
	preview.titled_pictures = preview.pictures;
}

static bool redraw(PreviewWindow &preview)
{
	if (SDL_RenderClear(preview.renderer) != 0 ||
	    SDL_RenderCopy(preview.renderer, preview.texture, nullptr, nullptr) != 0)
		return false;
	SDL_RenderPresent(preview.renderer);
	return true;
}

bool preview_picture(PreviewWindow &preview, const Picture &picture, std::string *error)
{
	preview.pictures++;
	update_title(preview);
	if (SDL_UpdateTexture(
	        preview.texture, nullptr, picture.pixels, static_cast<int>(picture.stride)) == 0 &&
	    redraw(preview))
		return true;
	*error = std::string("cannot draw in the window: ") + SDL_GetError();
	return false;
}

bool service_preview_window(PreviewWindow &preview)
{
	SDL_Event event;
	while (SDL_PollEvent(&event)) {
		if (event.type == SDL_QUIT ||
		    (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_CLOSE))
			preview.closed = true;
		else if (event.type == SDL_WINDOWEVENT &&
		         (event.window.event == SDL_WINDOWEVENT_EXPOSED ||
		             event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED))
			redraw(preview);
	}
	return !preview.closed;
}

void PreviewWindowDeleter::operator()(PreviewWindow *preview) const
{
	if (preview->texture)
		SDL_DestroyTexture(preview->texture);
	if (preview->renderer)
		SDL_DestroyRenderer(preview->renderer);
	if (preview->window)
		SDL_DestroyWindow(preview->window);
	SDL_QuitSubSystem(SDL_INIT_VIDEO);
	delete preview;
}
