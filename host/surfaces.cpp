#include <new>

#include <time.h>

#include <wayland-server-protocol.h>

#include <host/compositor_state.h>

namespace
{

constexpr int kCompositorVersion = 4;

std::uint32_t milliseconds_now()
{
	timespec now = {};
	clock_gettime(CLOCK_MONOTONIC, &now);
	return static_cast<std::uint32_t>(now.tv_sec * 1000LL + now.tv_nsec / 1000000);
}

void destroy_resource(wl_client *, wl_resource *resource)
{
	wl_resource_destroy(resource);
}

/* ---- Frame callbacks ---- */

void unlink_callback(wl_resource *callback)
{
	wl_list_remove(wl_resource_get_link(callback));
}

} // namespace

void answer_callbacks(wl_list *callbacks)
{
	const std::uint32_t now = milliseconds_now();
	while (!wl_list_empty(callbacks)) {
		wl_resource *callback = wl_resource_from_link(callbacks->next);
		wl_callback_send_done(callback, now);
		wl_resource_destroy(callback);
	}
}

namespace
{

void surface_frame(wl_client *client, wl_resource *resource, std::uint32_t id)
{
	auto *surface = static_cast<Surface *>(wl_resource_get_user_data(resource));
	wl_resource *callback = wl_resource_create(client, &wl_callback_interface, 1, id);
	if (!callback) {
		wl_client_post_no_memory(client);
		return;
	}
	wl_resource_set_implementation(callback, nullptr, nullptr, unlink_callback);
	wl_list_insert(surface->callbacks.prev, wl_resource_get_link(callback));
}

/* ---- Buffers ---- */

void forget_buffer(Surface &surface)
{
	if (!surface.buffer)
		return;
	wl_list_remove(&surface.buffer_gone.link);
	surface.buffer = nullptr;
}

void handle_buffer_gone(wl_listener *listener, void *)
{
	Surface *surface = wl_container_of(listener, surface, buffer_gone);
	forget_buffer(*surface);
}

void surface_attach(
    wl_client *, wl_resource *resource, wl_resource *buffer, std::int32_t, std::int32_t)
{
	auto *surface = static_cast<Surface *>(wl_resource_get_user_data(resource));
	forget_buffer(*surface);
	if (!buffer)
		return;
	surface->buffer = buffer;
	surface->buffer_gone.notify = handle_buffer_gone;
	wl_resource_add_destroy_listener(buffer, &surface->buffer_gone);
}

/* libwayland lets rows overlap, so that the last one may end behind the client's memory. */
bool has_whole_rows(wl_shm_buffer *buffer)
{
	constexpr int kBytesPerPixel = 4; /* in all the formats that are offered */
	return wl_shm_buffer_get_stride(buffer) / kBytesPerPixel >= wl_shm_buffer_get_width(buffer);
}

void hand_over(Compositor &compositor, wl_shm_buffer *buffer)
{
	wl_shm_buffer_begin_access(buffer); /* a client may shrink its file under us */
	if (compositor.options.on_picture)
		compositor.options.on_picture({
		    .pixels = static_cast<const unsigned char *>(wl_shm_buffer_get_data(buffer)),
		    .width = wl_shm_buffer_get_width(buffer),
		    .height = wl_shm_buffer_get_height(buffer),
		    .stride = static_cast<std::size_t>(wl_shm_buffer_get_stride(buffer)),
		});
	wl_shm_buffer_end_access(buffer);
	std::lock_guard lock(compositor.mutex);
	compositor.record.pictures++;
	compositor.changed.notify_all();
}

void surface_commit(wl_client *, wl_resource *resource)
{
	auto *surface = static_cast<Surface *>(wl_resource_get_user_data(resource));
	Compositor &compositor = *surface->compositor;
	if (wl_resource *buffer = surface->buffer) {
		wl_shm_buffer *memory = wl_shm_buffer_get(buffer);
		if (memory && !has_whole_rows(memory))
			wl_resource_post_error(
			    buffer, WL_SHM_ERROR_INVALID_STRIDE, "a row is longer than the stride");
		else if (memory && surface->window)
			hand_over(compositor, memory);
		wl_buffer_send_release(buffer);
		forget_buffer(*surface);
	}
	if (compositor.options.hold_frames) {
		wl_list_insert_list(compositor.held_callbacks.prev, &surface->callbacks);
		wl_list_init(&surface->callbacks);
	} else {
		answer_callbacks(&surface->callbacks);
	}
}

/* ---- Surfaces and regions ---- */

/* Surface buffers are taken whole and as they are, so these requests have no effect. */
void ignore_rectangle(
    wl_client *, wl_resource *, std::int32_t, std::int32_t, std::int32_t, std::int32_t)
{
}
void ignore_region(wl_client *, wl_resource *, wl_resource *)
{
}
void ignore_number(wl_client *, wl_resource *, std::int32_t)
{
}

constexpr struct wl_surface_interface kSurfaceRequests = {
    .destroy = destroy_resource,
    .attach = surface_attach,
    .damage = ignore_rectangle,
    .frame = surface_frame,
    .set_opaque_region = ignore_region,
    .set_input_region = ignore_region,
    .commit = surface_commit,
    .set_buffer_transform = ignore_number,
    .set_buffer_scale = ignore_number,
    .damage_buffer = ignore_rectangle,
};

constexpr struct wl_region_interface kRegionRequests = {
    .destroy = destroy_resource,
    .add = ignore_rectangle,
    .subtract = ignore_rectangle,
};

void delete_surface(wl_resource *resource)
{
	auto *surface = static_cast<Surface *>(wl_resource_get_user_data(resource));
	forget_buffer(*surface);
	while (!wl_list_empty(&surface->callbacks))
		wl_resource_destroy(wl_resource_from_link(surface->callbacks.next));
	if (surface->window)
		wl_resource_set_user_data(surface->window, nullptr);
	delete surface;
}

void create_surface(wl_client *client, wl_resource *resource, std::uint32_t id)
{
	wl_resource *made =
	    wl_resource_create(client, &wl_surface_interface, wl_resource_get_version(resource), id);
	if (!made) {
		wl_client_post_no_memory(client);
		return;
	}
	auto *surface = new Surface();
	surface->compositor = static_cast<Compositor *>(wl_resource_get_user_data(resource));
	wl_list_init(&surface->callbacks);
	wl_resource_set_implementation(made, &kSurfaceRequests, surface, delete_surface);
}

void create_region(wl_client *client, wl_resource *, std::uint32_t id)
{
	wl_resource *made = wl_resource_create(client, &wl_region_interface, 1, id);
	if (made)
		wl_resource_set_implementation(made, &kRegionRequests, nullptr, nullptr);
	else
		wl_client_post_no_memory(client);
}

/* ---- Globals ---- */

constexpr struct wl_compositor_interface kCompositorRequests = {
    .create_surface = create_surface,
    .create_region = create_region,
};

void bind_compositor(wl_client *client, void *data, std::uint32_t version, std::uint32_t id)
{
	wl_resource *resource =
	    wl_resource_create(client, &wl_compositor_interface, static_cast<int>(version), id);
	if (resource)
		wl_resource_set_implementation(resource, &kCompositorRequests, data, nullptr);
	else
		wl_client_post_no_memory(client);
}

/* Enough of an output to be seen in the registry: it says nothing about itself. */
void bind_output(wl_client *client, void *, std::uint32_t version, std::uint32_t id)
{
	wl_resource *resource =
	    wl_resource_create(client, &wl_output_interface, static_cast<int>(version), id);
	if (resource)
		wl_resource_set_implementation(resource, nullptr, nullptr, nullptr);
	else
		wl_client_post_no_memory(client);
}

} // namespace

bool create_surface_globals(Compositor &compositor)
{
	const CompositorOptions &options = compositor.options;
	if (options.offer_output) {
		compositor.output =
		    wl_global_create(compositor.display, &wl_output_interface, 1, &compositor, bind_output);
		if (!compositor.output)
			return false;
	}
	if (options.offer_compositor && !wl_global_create(compositor.display, &wl_compositor_interface,
	                                    kCompositorVersion, &compositor, bind_compositor))
		return false;
	return wl_display_init_shm(compositor.display) == 0; /* ARGB8888 and XRGB8888: B, G, R, X */
}
