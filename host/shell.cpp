#include <protocol/xdg-shell-server-protocol.h>

#include <host/compositor_state.h>

namespace
{

void destroy_resource(wl_client *, wl_resource *resource)
{
	wl_resource_destroy(resource);
}

/* ---- Windows ---- */

/* A window fills the surface of the unit whatever it asks for, and nobody can move it. */
void ignore(wl_client *, wl_resource *)
{
}
void ignore_text(wl_client *, wl_resource *, const char *)
{
}
void set_title(wl_client *, wl_resource *window, const char *title)
{
	auto *surface = static_cast<Surface *>(wl_resource_get_user_data(window));
	if (surface && surface->compositor->options.on_title)
		surface->compositor->options.on_title(title);
}
void ignore_number(wl_client *, wl_resource *, std::uint32_t)
{
}
void ignore_object(wl_client *, wl_resource *, wl_resource *)
{
}
void ignore_move(wl_client *, wl_resource *, wl_resource *, std::uint32_t)
{
}
void ignore_resize(wl_client *, wl_resource *, wl_resource *, std::uint32_t, std::uint32_t)
{
}
void ignore_menu(
    wl_client *, wl_resource *, wl_resource *, std::uint32_t, std::int32_t, std::int32_t)
{
}
void ignore_geometry(
    wl_client *, wl_resource *, std::int32_t, std::int32_t, std::int32_t, std::int32_t)
{
}

void configure(wl_resource *window, int width, int height)
{
	wl_array states;
	wl_array_init(&states);
	if (auto *state = static_cast<std::uint32_t *>(wl_array_add(&states, sizeof(std::uint32_t))))
		*state = XDG_SURFACE_STATE_FULLSCREEN;
	wl_display *display = wl_client_get_display(wl_resource_get_client(window));
	xdg_surface_send_configure(window, width, height, &states, wl_display_next_serial(display));
	wl_array_release(&states);
}

void set_fullscreen(wl_client *, wl_resource *window, wl_resource *)
{
	configure(window, kSurfaceWidth, kSurfaceHeight);
}

constexpr struct xdg_surface_interface kWindowRequests = {
    .destroy = destroy_resource,
    .set_parent = ignore_object,
    .set_title = set_title,
    .set_app_id = ignore_text,
    .show_window_menu = ignore_menu,
    .move = ignore_move,
    .resize = ignore_resize,
    .ack_configure = ignore_number,
    .set_window_geometry = ignore_geometry,
    .set_maximized = ignore,
    .unset_maximized = ignore,
    .set_fullscreen = set_fullscreen,
    .unset_fullscreen = ignore,
    .set_minimized = ignore,
};

void delete_window(wl_resource *window)
{
	wl_list_remove(wl_resource_get_link(window));
	if (auto *surface = static_cast<Surface *>(wl_resource_get_user_data(window)))
		surface->window = nullptr;
}

/* ---- Shells ---- */

void unlink_shell(wl_resource *shell)
{
	wl_list_remove(wl_resource_get_link(shell));
}

void destroy_shell(wl_client *, wl_resource *shell)
{
	auto *compositor = static_cast<Compositor *>(wl_resource_get_user_data(shell));
	wl_resource *window;
	wl_resource_for_each(window, &compositor->windows)
	{
		auto *surface = static_cast<Surface *>(wl_resource_get_user_data(window));
		if (surface && surface->shell == shell) {
			wl_resource_post_error(
			    shell, XDG_SHELL_ERROR_DEFUNCT_SURFACES, "destroyed before its windows");
			return;
		}
	}
	wl_resource_destroy(shell);
}

void use_unstable_version(wl_client *, wl_resource *shell, std::int32_t version)
{
	auto *compositor = static_cast<Compositor *>(wl_resource_get_user_data(shell));
	if (version != XDG_SHELL_VERSION_CURRENT) {
		wl_resource_post_error(shell, WL_DISPLAY_ERROR_INVALID_OBJECT,
		    "version %d is not spoken here, only %d", version, XDG_SHELL_VERSION_CURRENT);
		return;
	}
	wl_list_remove(wl_resource_get_link(shell));
	wl_list_insert(&compositor->shells, wl_resource_get_link(shell));
}

/* Only shells whose version was agreed on are in the compositor's list. */
bool is_agreed(wl_resource *shell)
{
	return !wl_list_empty(wl_resource_get_link(shell));
}

void get_xdg_surface(
    wl_client *client, wl_resource *shell, std::uint32_t id, wl_resource *surface_resource)
{
	auto *compositor = static_cast<Compositor *>(wl_resource_get_user_data(shell));
	auto *surface = static_cast<Surface *>(wl_resource_get_user_data(surface_resource));
	if (!is_agreed(shell)) {
		wl_resource_post_error(
		    shell, WL_DISPLAY_ERROR_INVALID_OBJECT, "use_unstable_version comes first");
		return;
	}
	if (surface->window) {
		wl_resource_post_error(shell, XDG_SHELL_ERROR_ROLE, "the surface is a window already");
		return;
	}
	wl_resource *window = wl_resource_create(client, &xdg_surface_interface, 1, id);
	if (!window) {
		wl_client_post_no_memory(client);
		return;
	}
	surface->window = window;
	surface->shell = shell;
	wl_resource_set_implementation(window, &kWindowRequests, surface, delete_window);
	wl_list_insert(&compositor->windows, wl_resource_get_link(window));
}

void get_xdg_popup(wl_client *, wl_resource *shell, std::uint32_t, wl_resource *, wl_resource *,
    wl_resource *, std::uint32_t, std::int32_t, std::int32_t)
{
	wl_resource_post_error(
	    shell, XDG_SHELL_ERROR_INVALID_POPUP_PARENT, "there is no input, and so no popup");
}

void pong(wl_client *, wl_resource *shell, std::uint32_t serial)
{
	auto *compositor = static_cast<Compositor *>(wl_resource_get_user_data(shell));
	std::lock_guard lock(compositor->mutex);
	compositor->record.pongs++;
	compositor->record.last_pong = serial;
	compositor->changed.notify_all();
}

constexpr struct xdg_shell_interface kShellRequests = {
    .destroy = destroy_shell,
    .use_unstable_version = use_unstable_version,
    .get_xdg_surface = get_xdg_surface,
    .get_xdg_popup = get_xdg_popup,
    .pong = pong,
};

void bind_shell(wl_client *client, void *data, std::uint32_t, std::uint32_t id)
{
	wl_resource *shell = wl_resource_create(client, &xdg_shell_interface, 1, id);
	if (!shell) {
		wl_client_post_no_memory(client);
		return;
	}
	wl_list_init(wl_resource_get_link(shell));
	wl_resource_set_implementation(shell, &kShellRequests, data, unlink_shell);
}

} // namespace

bool create_shell_global(Compositor &compositor)
{
	return wl_global_create(compositor.display, &xdg_shell_interface, 1, &compositor, bind_shell);
}

/* ---- What tests send ---- */

void send_ping(Compositor &compositor, std::uint32_t serial)
{
	run_on_compositor(compositor, [&compositor, serial] {
		wl_resource *shell;
		wl_resource_for_each(shell, &compositor.shells) xdg_shell_send_ping(shell, serial);
	});
}

void send_configure(Compositor &compositor, int width, int height)
{
	run_on_compositor(compositor, [&compositor, width, height] {
		wl_resource *window;
		wl_resource_for_each(window, &compositor.windows) configure(window, width, height);
	});
}

void send_close(Compositor &compositor)
{
	run_on_compositor(compositor, [&compositor] {
		wl_resource *window;
		wl_resource_for_each(window, &compositor.windows) xdg_surface_send_close(window);
	});
}
