#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>

#include <sys/eventfd.h>
#include <sys/random.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <studio/studio_state.h>

using nlohmann::json;

namespace
{

constexpr guint kFarewell = 300; /* milliseconds for browsers to answer */

std::string text_of(const json &message)
{
	return message.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string random_token()
{
	unsigned char bytes[16] = {};
	if (getrandom(bytes, sizeof bytes, 0) != sizeof bytes)
		return "";
	std::string token;
	for (const unsigned char byte : bytes) {
		token += "0123456789abcdef"[byte >> 4];
		token += "0123456789abcdef"[byte & 15];
	}
	return token;
}

/* ---- On the studio's thread ---- */

gboolean look_into_mailbox(gpointer data)
{
	deliver(*static_cast<Studio *>(data));
	return G_SOURCE_REMOVE;
}

gboolean quit(gpointer data)
{
	g_main_loop_quit(static_cast<Studio *>(data)->loop);
	return G_SOURCE_REMOVE;
}

gboolean begin_end(gpointer data)
{
	auto &studio = *static_cast<Studio *>(data);
	deliver(studio);
	close_browsers(studio);
	GSource *timer = g_timeout_source_new(studio.browsers.empty() ? 0 : kFarewell);
	g_source_set_callback(timer, quit, &studio, nullptr);
	g_source_attach(timer, studio.context);
	g_source_unref(timer);
	return G_SOURCE_REMOVE;
}

void run_studio(Studio &studio)
{
	g_main_context_push_thread_default(studio.context);
	g_main_loop_run(studio.loop);
	soup_server_disconnect(studio.server);
	g_main_context_pop_thread_default(studio.context);
}

/* ---- On the program's ---- */

void invoke(Studio &studio, GSourceFunc call)
{
	GSource *source = g_idle_source_new();
	g_source_set_priority(source, G_PRIORITY_DEFAULT);
	g_source_set_callback(source, call, &studio, nullptr);
	g_source_attach(source, studio.context);
	g_source_unref(source);
}

/* With the mailbox locked. */
void wake(Studio &studio)
{
	if (!std::exchange(studio.mailbox.is_woken, true))
		invoke(studio, look_into_mailbox);
}

} // namespace

void post_command(Studio &studio, std::string command)
{
	constexpr std::size_t kMost = 1000; /* a program that stands still takes none */
	const std::lock_guard lock(studio.mailbox.mutex);
	if (studio.mailbox.commands.size() >= kMost)
		return;
	studio.mailbox.commands.push_back(std::move(command));
	eventfd_write(studio.descriptor, 1);
}

bool take_studio_argument(int argc, char *const *argv, int *index, StudioArgument *argument)
{
	if (strcmp(argv[*index], "--studio") != 0)
		return false;
	argument->is_wanted = true;
	const std::string_view value = ++*index < argc ? argv[*index] : "";
	const char *end = value.data() + value.size();
	const auto [stop, failure] = std::from_chars(value.data(), end, argument->options.port);
	if (failure == std::errc() && stop == end)
		++*index;
	return true;
}

StudioPtr open_studio(const StudioOptions &options, std::string *error)
{
	StudioPtr studio(new Studio);
	studio->token = random_token();
	studio->descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
	if (studio->token.empty() || studio->descriptor < 0) {
		*error = std::string("cannot open the studio: ") + strerror(errno);
		return nullptr;
	}
	studio->context = g_main_context_new();
	studio->loop = g_main_loop_new(studio->context, FALSE);
	g_main_context_push_thread_default(studio->context);
	const bool started = start_server(*studio, options.port, error);
	g_main_context_pop_thread_default(studio->context);
	if (!started)
		return nullptr;
	studio->thread = std::thread([s = studio.get()] { run_studio(*s); });
	return studio;
}

void StudioDeleter::operator()(Studio *studio) const
{
	if (studio->thread.joinable()) {
		invoke(*studio, begin_end);
		studio->thread.join();
	}
	if (studio->encoded)
		g_bytes_unref(studio->encoded);
	for (const Browser &browser : studio->browsers) {
		g_signal_handlers_disconnect_by_data(browser.connection, const_cast<Browser *>(&browser));
		g_object_unref(browser.connection);
	}
	if (studio->server)
		g_object_unref(studio->server);
	if (studio->loop)
		g_main_loop_unref(studio->loop);
	if (studio->context)
		g_main_context_unref(studio->context);
	if (studio->descriptor >= 0)
		close(studio->descriptor);
	delete studio;
}

const std::string &studio_address(const Studio &studio)
{
	return studio.address;
}

int studio_descriptor(const Studio &studio)
{
	return studio.descriptor;
}

bool take_command(Studio &studio, json *command)
{
	const std::lock_guard lock(studio.mailbox.mutex);
	auto &commands = studio.mailbox.commands;
	eventfd_t count = 0;
	while (!commands.empty()) {
		*command = json::parse(commands.front(), nullptr, false);
		commands.pop_front();
		if (command->is_object() && command->contains("command") &&
		    (*command)["command"].is_string())
			return true;
	}
	eventfd_read(studio.descriptor, &count);
	return false;
}

void publish(Studio &studio, const json &message)
{
	Message sent = {.type = message.value("type", ""), .text = text_of(message)};
	if (sent.type == "frame") {
		json brief = message;
		brief.erase("objects");
		sent.brief = text_of(brief);
	}
	const std::lock_guard lock(studio.mailbox.mutex);
	if (sent.type == "state")
		studio.mailbox.is_still = message.value("program", "running") != "running";
	studio.mailbox.messages.push_back(std::move(sent));
	wake(studio);
}

void show_in_studio(Studio &studio, const Picture &picture, std::uint32_t frame)
{
	auto shot = std::make_shared<Shot>();
	shot->frame = frame;
	shot->width = picture.width;
	shot->height = picture.height;
	const std::size_t row = static_cast<std::size_t>(picture.width) * 4;
	shot->pixels.resize(row * static_cast<std::size_t>(picture.height));
	for (int y = 0; y < picture.height; ++y)
		memcpy(&shot->pixels[static_cast<std::size_t>(y) * row],
		    picture.pixels + static_cast<std::size_t>(y) * picture.stride, row);
	const std::lock_guard lock(studio.mailbox.mutex);
	shot->number = studio.mailbox.shot ? studio.mailbox.shot->number + 1 : 1;
	studio.mailbox.shot = std::move(shot);
	wake(studio);
}

void offer_file(Studio &studio, const std::string &name, std::string content)
{
	const std::lock_guard lock(studio.mailbox.mutex);
	studio.mailbox.files.push_back({name, std::move(content)});
	wake(studio);
}

std::string last_picture_file(Studio &studio)
{
	ShotPtr shot;
	{
		const std::lock_guard lock(studio.mailbox.mutex);
		shot = studio.mailbox.shot;
	}
	return shot ? png_of(*shot) : "";
}
