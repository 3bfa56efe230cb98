/* What the studio's parts share. The program's thread and the studio's own meet in Mailbox alone;
 * the rest is the studio's thread's. */
#pragma once

#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <libsoup/soup.h>

#include <studio/encode.h>
#include <studio/studio.h>

/* A frame's message, whole and without its objects. */
struct FrameMessage {
	std::string whole;
	std::string brief;
};

struct Message {
	std::string type;
	std::string text;
	std::string brief; /* of a "frame" */
};

struct OfferedFile {
	std::string name;
	std::string content;
};

/* A page. It asks for more when it has shown what it got, so nothing piles up on its way. */
struct Browser {
	struct Studio *studio;
	SoupWebsocketConnection *connection;
	bool wants_more = false;
	std::uint64_t next_frame = 0; /* of all that were published: not yet sent */
	std::uint64_t shot = 0;       /* that it has; 0: none */
	bool has_exact = false;
};

struct Mailbox {
	std::mutex mutex;
	std::vector<Message> messages;
	std::vector<OfferedFile> files;
	ShotPtr shot; /* the newest */
	bool is_still = false;
	bool is_woken = false; /* the studio's thread will look in here */
	std::deque<std::string> commands;
};

struct Studio {
	std::string address;
	std::string token;
	int descriptor = -1; /* an eventfd */
	GMainContext *context = nullptr;
	GMainLoop *loop = nullptr;
	std::thread thread;
	Mailbox mailbox;

	SoupServer *server = nullptr;
	std::list<Browser> browsers;
	std::map<std::string, std::string> newest; /* by type */
	std::vector<std::string> findings;
	std::deque<FrameMessage> frames;
	std::uint64_t frames_published = 0;
	std::deque<OfferedFile> files;
	ShotPtr shot;
	bool is_still = false;
	GBytes *encoded = nullptr; /* of the shot of this number, and how */
	std::uint64_t encoded_shot = 0;
	bool encoded_exact = false;
};

/* ---- server.cpp ---- */

/* Listens. Returns false with the reason in *error. */
bool start_server(Studio &studio, std::uint16_t port, std::string *error);

/* ---- browsers.cpp ---- */

void add_browser(Studio &studio, SoupWebsocketConnection *connection);

/* Takes in what the mailbox holds and sends it on. */
void deliver(Studio &studio);

/* Says farewell. The connections close when the browsers have answered. */
void close_browsers(Studio &studio);

/* ---- studio.cpp ---- */

/* Puts a command into the mailbox. */
void post_command(Studio &studio, std::string command);
