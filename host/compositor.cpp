#include <host/compositor.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <host/compositor_state.h>

namespace
{

/* ---- Commands from other threads ---- */

int run_commands(int fd, std::uint32_t, void *data)
{
	auto *compositor = static_cast<Compositor *>(data);
	std::uint64_t count;
	if (read(fd, &count, sizeof(count)) < 0)
		return 0; /* the commands were run by the wake-up before */
	std::unique_lock lock(compositor->mutex);
	while (!compositor->commands.empty()) {
		auto command = std::move(compositor->commands.front());
		compositor->commands.pop_front();
		lock.unlock();
		command();
		lock.lock();
	}
	return 0;
}

void post(Compositor &compositor, std::function<void()> command)
{
	{
		std::lock_guard lock(compositor.mutex);
		compositor.commands.push_back(std::move(command));
	}
	const std::uint64_t one = 1;
	while (write(compositor.wakeup_fd, &one, sizeof(one)) < 0 && errno == EINTR)
		;
}

} // namespace

void run_on_compositor(Compositor &compositor, std::function<void()> command)
{
	const std::thread::id runner = compositor.runner;
	if (runner == std::thread::id() || runner == std::this_thread::get_id()) {
		command();
		wl_display_flush_clients(compositor.display);
		return;
	}
	bool done = false;
	post(compositor, [&compositor, &command, &done] {
		command();
		wl_display_flush_clients(compositor.display);
		std::lock_guard lock(compositor.mutex);
		done = true;
		compositor.changed.notify_all();
	});
	std::unique_lock lock(compositor.mutex);
	compositor.changed.wait(lock, [&done] { return done; });
}

namespace
{

/* ---- What the compositor notes and when it speaks ---- */

void note_message(
    void *data, wl_protocol_logger_type type, const wl_protocol_logger_message *message)
{
	auto *compositor = static_cast<Compositor *>(data);
	const CompositorOptions &options = compositor->options;
	if (type != WL_PROTOCOL_LOGGER_REQUEST || !(options.keep_requests || options.on_request))
		return;
	const std::string text = request_text(*message);
	if (options.on_request)
		options.on_request(text);
	if (options.keep_requests) {
		std::lock_guard lock(compositor->mutex);
		compositor->record.requests.push_back(text);
		compositor->changed.notify_all();
	}
}

/* libwayland asks this before it names a global to a client: the one moment to send those named so
 * far on their way. */
bool space_global_out(const wl_client *client, const wl_global *, void *data)
{
	const auto *compositor = static_cast<const Compositor *>(data);
	wl_client_flush(const_cast<wl_client *>(client));
	std::this_thread::sleep_for(compositor->options.global_gap);
	return true;
}

/* ---- Arrivals ---- */

/* Without a descriptor to spare a client can be neither accepted nor refused. It would wait for
 * ever, and wake us all the time. */
void turn_away(Compositor &compositor)
{
	close(compositor.spare_fd);
	const int client = accept4(compositor.socket.fd, nullptr, nullptr, SOCK_CLOEXEC);
	if (client >= 0)
		close(client);
	compositor.spare_fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
}

int receive_client(int fd, std::uint32_t, void *data)
{
	auto *compositor = static_cast<Compositor *>(data);
	const int client = accept4(fd, nullptr, nullptr, SOCK_CLOEXEC);
	if (client < 0 && (errno == EMFILE || errno == ENFILE))
		turn_away(*compositor);
	else if (client >= 0 && !wl_client_create(compositor->display, client))
		close(client);
	return 0;
}

/* ---- Life ---- */

bool create_display(Compositor &compositor)
{
	compositor.display = wl_display_create();
	if (!compositor.display)
		return false;
	if (compositor.options.global_gap.count() > 0)
		wl_display_set_global_filter(compositor.display, space_global_out, &compositor);
	compositor.wakeup_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
	if (compositor.wakeup_fd < 0)
		return false;
	compositor.wakeup = wl_event_loop_add_fd(wl_display_get_event_loop(compositor.display),
	    compositor.wakeup_fd, WL_EVENT_READABLE, run_commands, &compositor);
	compositor.logger =
	    wl_display_add_protocol_logger(compositor.display, note_message, &compositor);
	if (!compositor.wakeup || !compositor.logger || !create_surface_globals(compositor) ||
	    (compositor.options.offer_shell && !create_shell_global(compositor)))
		return false;
	compositor.spare_fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
	compositor.arrivals = wl_event_loop_add_fd(wl_display_get_event_loop(compositor.display),
	    compositor.socket.fd, WL_EVENT_READABLE, receive_client, &compositor);
	return compositor.spare_fd >= 0 && compositor.arrivals;
}

} // namespace

CompositorPtr open_compositor(CompositorOptions options, std::string *error)
{
	CompositorPtr compositor(new Compositor());
	compositor->options = std::move(options);
	wl_list_init(&compositor->shells);
	wl_list_init(&compositor->windows);
	wl_list_init(&compositor->held_callbacks);
	if (!open_private_socket(&compositor->socket, error))
		return nullptr;
	if (!create_display(*compositor)) {
		*error = std::string("cannot start the compositor: ") + strerror(errno);
		return nullptr;
	}
	return compositor;
}

void CompositorDeleter::operator()(Compositor *compositor) const
{
	if (compositor->thread.joinable()) {
		stop_compositor(*compositor);
		compositor->thread.join();
	}
	if (compositor->display) {
		wl_display_destroy_clients(compositor->display);
		if (compositor->logger)
			wl_protocol_logger_destroy(compositor->logger);
		for (wl_event_source *source : {compositor->wakeup, compositor->arrivals})
			if (source)
				wl_event_source_remove(source);
		wl_display_destroy(compositor->display);
	}
	for (const int fd : {compositor->wakeup_fd, compositor->spare_fd, compositor->socket.fd})
		if (fd >= 0)
			close(fd);
	remove_private_folder(&compositor->socket);
	delete compositor;
}

const std::string &compositor_folder(const Compositor &compositor)
{
	return compositor.socket.folder;
}

const std::string &compositor_socket(const Compositor &compositor)
{
	return compositor.socket.name;
}

wl_event_loop *compositor_loop(Compositor &compositor)
{
	return wl_display_get_event_loop(compositor.display);
}

/* ---- Running ---- */

void run_compositor(Compositor &compositor)
{
	compositor.runner = std::this_thread::get_id();
	wl_display_run(compositor.display);
	compositor.runner = std::thread::id();
}

void stop_compositor(Compositor &compositor)
{
	post(compositor, [&compositor] { wl_display_terminate(compositor.display); });
}

void start_compositor_thread(Compositor &compositor)
{
	compositor.thread = std::thread([&compositor] { run_compositor(compositor); });
	compositor.runner = compositor.thread.get_id();
}

void send_frames(Compositor &compositor)
{
	run_on_compositor(compositor, [&compositor] { answer_callbacks(&compositor.held_callbacks); });
}

void remove_output(Compositor &compositor)
{
	run_on_compositor(compositor, [&compositor] {
		if (compositor.output)
			wl_global_destroy(std::exchange(compositor.output, nullptr));
	});
}

void disconnect_clients(Compositor &compositor)
{
	run_on_compositor(
	    compositor, [&compositor] { wl_display_destroy_clients(compositor.display); });
}

void send_error(Compositor &compositor)
{
	run_on_compositor(compositor, [&compositor] {
		wl_client *client;
		wl_client_for_each(client, wl_display_get_client_list(compositor.display))
		    wl_client_post_implementation_error(client, "as a test asked for");
	});
}

/* ---- The record ---- */

CompositorRecord compositor_record(Compositor &compositor)
{
	std::lock_guard lock(compositor.mutex);
	return compositor.record;
}

bool await_record(Compositor &compositor, std::chrono::milliseconds limit,
    const std::function<bool(const CompositorRecord &)> &test)
{
	std::unique_lock lock(compositor.mutex);
	return compositor.changed.wait_for(
	    lock, limit, [&compositor, &test] { return test(compositor.record); });
}
