#include <algorithm>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include <studio/studio_state.h>

using nlohmann::json;

namespace
{

constexpr std::size_t kFramesKept = 1000;
constexpr std::size_t kFindingsKept = 1000;
constexpr std::size_t kFilesKept = 4;

/* A scene, as a text in a text. */
constexpr guint64 kLongestCommand = 8 << 20;

void send(Browser &browser, const std::string &text)
{
	if (soup_websocket_connection_get_state(browser.connection) == SOUP_WEBSOCKET_STATE_OPEN)
		soup_websocket_connection_send_text(browser.connection, text.c_str());
}

void send_to_all(Studio &studio, const std::string &text)
{
	for (Browser &browser : studio.browsers)
		send(browser, text);
}

/* ---- Pictures ---- */

/* One letter for the kind, the frame's number in little endian, the file. */
GBytes *encode(const Shot &shot, bool exact)
{
	std::string message(1, exact ? 'P' : 'J');
	for (int shift = 0; shift < 32; shift += 8)
		message += static_cast<char>(shot.frame >> shift & 0xFF);
	message += exact ? png_of(shot) : jpeg_of(shot);
	return g_bytes_new(message.data(), message.size());
}

/* Encodes once for all browsers. */
GBytes *encoded_shot(Studio &studio)
{
	if (studio.encoded && studio.encoded_shot == studio.shot->number &&
	    studio.encoded_exact == studio.is_still)
		return studio.encoded;
	if (studio.encoded)
		g_bytes_unref(studio.encoded);
	studio.encoded = encode(*studio.shot, studio.is_still);
	studio.encoded_shot = studio.shot->number;
	studio.encoded_exact = studio.is_still;
	return studio.encoded;
}

bool wants_shot(const Studio &studio, const Browser &browser)
{
	return studio.shot &&
	       (browser.shot != studio.shot->number || (studio.is_still && !browser.has_exact));
}

void send_shot(Studio &studio, Browser &browser)
{
	GBytes *bytes = encoded_shot(studio);
	if (soup_websocket_connection_get_state(browser.connection) == SOUP_WEBSOCKET_STATE_OPEN)
		soup_websocket_connection_send_message(
		    browser.connection, SOUP_WEBSOCKET_DATA_BINARY, bytes);
	browser.shot = studio.shot->number;
	browser.has_exact = studio.is_still;
}

/* ---- Frames ---- */

/* All that came since the last time, of which only the newest has its objects. */
void send_frames(Studio &studio, Browser &browser)
{
	const std::uint64_t oldest = studio.frames_published - studio.frames.size();
	for (std::uint64_t n = std::max(browser.next_frame, oldest); n < studio.frames_published; ++n) {
		const FrameMessage &frame = studio.frames[n - oldest];
		send(browser, n + 1 == studio.frames_published ? frame.whole : frame.brief);
	}
	browser.next_frame = studio.frames_published;
}

void feed(Studio &studio, Browser &browser)
{
	const bool has_frames = browser.next_frame < studio.frames_published;
	const bool has_shot = wants_shot(studio, browser);
	if (!browser.wants_more || (!has_frames && !has_shot))
		return;
	browser.wants_more = false;
	send_frames(studio, browser);
	if (has_shot)
		send_shot(studio, browser);
	send(browser, R"({"type":"fed"})");
}

/* ---- The mailbox ---- */

void keep_frame(Studio &studio, Message &message)
{
	if (!studio.frames.empty()) /* only the newest has to be whole */
		studio.frames.back().whole = std::string();
	studio.frames.push_back({std::move(message.text), std::move(message.brief)});
	studio.frames_published++;
	if (studio.frames.size() > kFramesKept)
		studio.frames.pop_front();
}

void take_in(Studio &studio, Message &message)
{
	if (message.type == "frame") {
		keep_frame(studio, message);
		return;
	}
	send_to_all(studio, message.text);
	if (message.type != "finding")
		studio.newest[message.type] = std::move(message.text);
	else if (studio.findings.size() < kFindingsKept)
		studio.findings.push_back(std::move(message.text));
}

void take_in(Studio &studio, OfferedFile &file)
{
	send_to_all(studio, json{{"type", "file"}, {"name", file.name}}.dump());
	studio.files.push_back(std::move(file));
	if (studio.files.size() > kFilesKept)
		studio.files.pop_front();
}

/* ---- What browsers do ---- */

void watch(Studio &studio)
{
	const char *level = studio.browsers.empty() ? "times" : "objects";
	post_command(studio, json{{"command", "watch"}, {"level", level}}.dump());
}

/* That a page is ready, which is between it and us. */
bool is_more(std::string_view text)
{
	constexpr std::size_t kLongest = 100; /* a command can be long */
	if (text.size() > kLongest)
		return false;
	const json message = json::parse(text, nullptr, false);
	return message.is_object() && message.value("command", json()) == "more";
}

void handle_message(SoupWebsocketConnection *, gint kind, GBytes *message, gpointer data)
{
	if (kind != SOUP_WEBSOCKET_DATA_TEXT)
		return;
	auto &browser = *static_cast<Browser *>(data);
	gsize size = 0;
	const auto *text = static_cast<const char *>(g_bytes_get_data(message, &size));
	if (!is_more({text, size})) {
		post_command(*browser.studio, std::string(text, size));
		return;
	}
	browser.wants_more = true;
	feed(*browser.studio, browser);
}

void handle_closed(SoupWebsocketConnection *connection, gpointer data)
{
	Studio &studio = *static_cast<Browser *>(data)->studio;
	g_signal_handlers_disconnect_by_data(connection, data);
	studio.browsers.remove_if([data](const Browser &browser) { return &browser == data; });
	g_object_unref(connection);
	if (studio.browsers.empty())
		watch(studio);
}

} // namespace

void add_browser(Studio &studio, SoupWebsocketConnection *connection)
{
	studio.browsers.push_back(
	    {.studio = &studio, .connection = SOUP_WEBSOCKET_CONNECTION(g_object_ref(connection))});
	Browser &browser = studio.browsers.back();
	soup_websocket_connection_set_max_incoming_payload_size(connection, kLongestCommand);
	g_signal_connect(connection, "message", G_CALLBACK(handle_message), &browser);
	g_signal_connect(connection, "closed", G_CALLBACK(handle_closed), &browser);
	for (const auto &[type, text] : studio.newest)
		send(browser, text);
	for (const std::string &finding : studio.findings)
		send(browser, finding);
	if (studio.browsers.size() == 1)
		watch(studio);
}

void deliver(Studio &studio)
{
	std::vector<Message> messages;
	std::vector<OfferedFile> files;
	{
		const std::lock_guard lock(studio.mailbox.mutex);
		messages.swap(studio.mailbox.messages);
		files.swap(studio.mailbox.files);
		studio.shot = studio.mailbox.shot;
		studio.is_still = studio.mailbox.is_still;
		studio.mailbox.is_woken = false;
	}
	for (Message &message : messages)
		take_in(studio, message);
	for (OfferedFile &file : files)
		take_in(studio, file);
	for (Browser &browser : studio.browsers)
		feed(studio, browser);
}

void close_browsers(Studio &studio)
{
	for (Browser &browser : studio.browsers) {
		if (soup_websocket_connection_get_state(browser.connection) == SOUP_WEBSOCKET_STATE_OPEN)
			soup_websocket_connection_close(
			    browser.connection, SOUP_WEBSOCKET_CLOSE_GOING_AWAY, "the host has ended");
	}
}
