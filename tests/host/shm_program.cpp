/* A Wayland client without GL for animation-host: paints numbered pictures from shared memory, then
 * ends as it is told.
 *
 * usage: shm-program PICTURES END
 *   END  a number      exit with it
 *        stubborn      paint on, whatever SIGTERM says
 *        interrupt     paint on until SIGINT; exit with the number of them within half a second
 *        abort-late    paint on until SIGTERM, then abort
 *        version, early-window, late-window  exit with the protocol's error
 */
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include <wayland-client.h>

#include <host/picture.h>
#include <protocol/xdg-shell-client-protocol.h>

static constexpr int kRow = kSurfaceWidth + 16; /* pixels from row to row */
static constexpr int kBytes = kRow * kSurfaceHeight * 4;

static volatile sig_atomic_t interrupts = 0;

static wl_display *display;
static wl_compositor *compositor;
static wl_shm *shm;
static xdg_shell *shell;
static wl_surface *surface;
static wl_buffer *buffer;
static std::uint32_t *pixels;

static void bind_global(
    void *, wl_registry *registry, std::uint32_t name, const char *interface, std::uint32_t)
{
	const auto bind = [&]<typename Object>(Object *&object, const wl_interface &wanted) {
		if (interface == std::string(wanted.name))
			object = static_cast<Object *>(wl_registry_bind(registry, name, &wanted, 1));
	};
	bind(compositor, wl_compositor_interface);
	bind(shm, wl_shm_interface);
	bind(shell, xdg_shell_interface);
}

static bool connect()
{
	static constexpr wl_registry_listener kListener = {.global = bind_global};
	display = wl_display_connect(nullptr);
	if (!display)
		return false;
	wl_registry_add_listener(wl_display_get_registry(display), &kListener, nullptr);
	const int file = memfd_create("picture", MFD_CLOEXEC);
	if (wl_display_roundtrip(display) < 0 || ftruncate(file, kBytes) != 0)
		return false;
	pixels = static_cast<std::uint32_t *>(
	    mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
	buffer = wl_shm_pool_create_buffer(wl_shm_create_pool(shm, file, kBytes), 0, kSurfaceWidth,
	    kSurfaceHeight, kRow * 4, WL_SHM_FORMAT_XRGB8888);
	return pixels != MAP_FAILED;
}

/* True once the frame callback has come. */
static bool paint(std::uint32_t number)
{
	static constexpr wl_callback_listener kListener = {
	    [](void *shown, wl_callback *, std::uint32_t) { *static_cast<bool *>(shown) = true; }};
	for (int y = 0; y < kSurfaceHeight; y++)
		std::fill_n(pixels + y * kRow, kSurfaceWidth, 0x302010 + number % 100 * 0x010101);
	bool shown = false;
	wl_callback *frame = wl_surface_frame(surface);
	wl_callback_add_listener(frame, &kListener, &shown);
	wl_surface_attach(surface, buffer, 0, 0);
	wl_surface_damage(surface, 0, 0, kSurfaceWidth, kSurfaceHeight);
	wl_surface_commit(surface);
	while (!shown && wl_display_dispatch(display) >= 0)
		;
	wl_callback_destroy(frame);
	return shown;
}

int main(int argc, char **argv)
{
	if (argc != 3 || !connect())
		return EXIT_FAILURE;
	const std::string end = argv[2];
	if (end == "interrupt")
		signal(SIGINT, [](int) { interrupts = interrupts + 1; });
	if (end == "stubborn")
		signal(SIGTERM, SIG_IGN);
	if (end == "abort-late")
		signal(SIGTERM, [](int) { abort(); });

	if (end != "early-window")
		xdg_shell_use_unstable_version(shell, end == "version" ? 4 : XDG_SHELL_VERSION_CURRENT);
	surface = wl_compositor_create_surface(compositor);
	xdg_surface_set_fullscreen(xdg_shell_get_xdg_surface(shell, surface), nullptr);
	if (end == "late-window")
		xdg_shell_destroy(shell);
	if (wl_display_roundtrip(display) < 0)
		return wl_display_get_error(display);
	int number = 0;
	while (number < atoi(argv[1]))
		if (!paint(++number))
			return EXIT_FAILURE;
	printf("painted, process %d of %d\n", getpid(), getppid());
	fflush(stdout);

	const bool stays = end == "stubborn" || end == "interrupt" || end == "abort-late";
	while (stays && interrupts == 0 && paint(++number))
		usleep(10000);
	for (int tenths = 0; interrupts > 0 && tenths < 5; tenths++)
		usleep(100000);
	return end == "interrupt" ? interrupts : atoi(end.c_str());
}
