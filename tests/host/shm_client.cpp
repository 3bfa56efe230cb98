#include "shm_client.h"

#include <algorithm>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

static void answer_ping(void *, xdg_shell *shell, std::uint32_t serial)
{
	xdg_shell_pong(shell, serial);
}
static constexpr xdg_shell_listener kShellListener = {answer_ping};

static void note_configure(void *data, xdg_surface *window, std::int32_t width, std::int32_t,
    wl_array *, std::uint32_t serial)
{
	static_cast<ShmClient *>(data)->configured_width = width;
	xdg_surface_ack_configure(window, serial);
}
static void note_close(void *data, xdg_surface *)
{
	static_cast<ShmClient *>(data)->closed = true;
}
static constexpr xdg_surface_listener kWindowListener = {note_configure, note_close};

static void note_global(
    void *data, wl_registry *registry, std::uint32_t name, const char *interface, std::uint32_t)
{
	auto *client = static_cast<ShmClient *>(data);
	const std::string kind = interface;
	client->globals.push_back(kind);
	if (kind == "wl_compositor")
		client->compositor = static_cast<wl_compositor *>(
		    wl_registry_bind(registry, name, &wl_compositor_interface, 1));
	else if (kind == "wl_shm")
		client->shm = static_cast<wl_shm *>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
	else if (kind == "xdg_shell") {
		client->shell =
		    static_cast<xdg_shell *>(wl_registry_bind(registry, name, &xdg_shell_interface, 1));
		xdg_shell_add_listener(client->shell, &kShellListener, client);
	}
}
static void note_removal(void *data, wl_registry *, std::uint32_t name)
{
	static_cast<ShmClient *>(data)->removed.push_back(std::to_string(name));
}
static constexpr wl_registry_listener kRegistryListener = {note_global, note_removal};

ShmClientPtr connect_client(const char *path)
{
	ShmClientPtr client(new ShmClient());
	client->display = wl_display_connect(path);
	if (!client->display)
		return nullptr;
	client->registry = wl_display_get_registry(client->display);
	wl_registry_add_listener(client->registry, &kRegistryListener, client.get());
	wl_display_roundtrip(client->display);
	return client;
}

void ShmClientDeleter::operator()(ShmClient *client) const
{
	if (client->frame)
		wl_callback_destroy(client->frame);
	if (client->window)
		xdg_surface_destroy(client->window);
	if (client->surface)
		wl_surface_destroy(client->surface);
	if (client->buffer)
		wl_buffer_destroy(client->buffer);
	if (client->shell)
		xdg_shell_destroy(client->shell);
	if (client->shm)
		wl_shm_destroy(client->shm);
	if (client->compositor)
		wl_compositor_destroy(client->compositor);
	if (client->registry)
		wl_registry_destroy(client->registry);
	if (client->display) {
		wl_display_roundtrip(client->display); /* a closed socket drops what nobody has read */
		wl_display_disconnect(client->display);
	}
	if (client->pixels)
		munmap(client->pixels, client->size);
	delete client;
}

static bool create_buffer(ShmClient &client)
{
	const int stride = client.width * 4;
	client.size = static_cast<std::size_t>(stride) * client.height;
	int fd = memfd_create("picture", MFD_CLOEXEC);
	if (fd < 0)
		return false;
	void *memory = ftruncate(fd, static_cast<off_t>(client.size)) == 0
	                   ? mmap(nullptr, client.size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
	                   : MAP_FAILED;
	if (memory != MAP_FAILED) {
		client.pixels = static_cast<std::uint32_t *>(memory);
		wl_shm_pool *pool =
		    wl_shm_create_pool(client.shm, fd, static_cast<std::int32_t>(client.size));
		client.buffer = wl_shm_pool_create_buffer(
		    pool, 0, client.width, client.height, stride, WL_SHM_FORMAT_XRGB8888);
		wl_shm_pool_destroy(pool);
	}
	close(fd);
	return client.buffer;
}

bool open_window(ShmClient &client, int width, int height)
{
	if (!client.compositor || !client.shm || !client.shell)
		return false;
	client.width = width;
	client.height = height;
	if (!create_buffer(client))
		return false;
	xdg_shell_use_unstable_version(client.shell, XDG_SHELL_VERSION_CURRENT);
	client.surface = wl_compositor_create_surface(client.compositor);
	client.window = xdg_shell_get_xdg_surface(client.shell, client.surface);
	xdg_surface_add_listener(client.window, &kWindowListener, &client);
	xdg_surface_set_fullscreen(client.window, nullptr);
	return wl_display_roundtrip(client.display) >= 0;
}

static void note_frame(void *data, wl_callback *callback, std::uint32_t)
{
	static_cast<ShmClient *>(data)->frame = nullptr;
	wl_callback_destroy(callback);
}
static constexpr wl_callback_listener kFrameListener = {note_frame};

void paint(ShmClient &client, std::uint32_t upper, std::uint32_t lower)
{
	const std::size_t half = client.size / sizeof(std::uint32_t) / 2;
	std::fill_n(client.pixels, half, upper);
	std::fill_n(client.pixels + half, half, lower);
	client.frame = wl_surface_frame(client.surface);
	wl_callback_add_listener(client.frame, &kFrameListener, &client);
	wl_surface_attach(client.surface, client.buffer, 0, 0);
	wl_surface_damage(client.surface, 0, 0, client.width, client.height);
	wl_surface_commit(client.surface);
	wl_display_flush(client.display);
}

bool await_frame(ShmClient &client)
{
	while (client.frame)
		if (wl_display_dispatch(client.display) < 0)
			return false;
	return true;
}
