/* What is seen of a playback from outside of the player. Any thread. */
#pragma once

#include <string>

void note_playback_request(const char *uri);
void note_playback_start(); /* of what was asked for last */
void note_playback_control(bool pauses);
void note_playback_stop();
void note_playback_end();

/* Between the two, on the thread that brings a video frame, its update tells that it has reached an
 * object; otherwise it was dropped. */
void begin_delivery();
void note_update();
void end_delivery();

void note_shown_frame(); /* one is in a picture that was swapped */

/* As JSON; "null" if there is no playback. position_ms is of the player, or ANIMATION_NO_POSITION.
 */
std::string playback_text(int position_ms);
