/*
 * The life of the render thread and of its connection, as one state.
 *
 *   state            render thread               connection   shared context
 *   kNone            none                        closed       -
 *   kStarting        starts, first turn          opened       -
 *   kTurning         turns                       open         not out
 *   kShared          turns                       open         current on the thread of Init
 *   kStopping        takes its surface and EGL   open         not out
 *                    down
 *   kStoppingShared  the same                    open         current on the thread of Init
 *   kEnded           has ended                   closed       not out
 *   kEndedShared     has ended                   open         current on the thread of Init
 *
 * EGL keeps what a current context has on the connection until its thread lets go of it. So the
 * connection is closed by whoever comes last: by the render thread as it ends, or after a SIGINT by
 * DeInit, when it has taken the context back. Entering kEnded closes it.
 *
 *   kNone -> kStarting -> kTurning <-> kShared      Init; DeInit takes the context back first
 *               |            |            |
 *               +-----+------+            |         a stop begins: DeInit or SIGINT
 *                     v                   v
 *                 kStopping   <-   kStoppingShared  the context comes back
 *                     |                   |         the thread ends
 *                     v                   v
 *                  kEnded     <-     kEndedShared   the context comes back
 *                     |                   |
 *                     +---> kNone <-------+         DeInit has joined the thread
 */
#pragma once

enum class RenderState {
	kNone,
	kStarting,
	kTurning,
	kShared,
	kStopping,
	kStoppingShared,
	kEnded,
	kEndedShared,
};

enum class RenderEvent {
	kThreadStarts,
	kFirstTurnEnds,
	kContextShared,
	kContextReturned,
	kStopBegins, /* from here on no context may be shared any more */
	kThreadEnds,
	kThreadJoined,
};

struct RenderTransition {
	RenderState from;
	RenderEvent event;
	RenderState to;
};

/* What is not in this table moves nothing. */
inline constexpr RenderTransition kRenderTransitions[] = {
    {RenderState::kNone, RenderEvent::kThreadStarts, RenderState::kStarting},
    {RenderState::kStarting, RenderEvent::kFirstTurnEnds, RenderState::kTurning},
    {RenderState::kTurning, RenderEvent::kContextShared, RenderState::kShared},
    {RenderState::kShared, RenderEvent::kContextReturned, RenderState::kTurning},
    {RenderState::kStoppingShared, RenderEvent::kContextReturned, RenderState::kStopping},
    {RenderState::kEndedShared, RenderEvent::kContextReturned, RenderState::kEnded},
    {RenderState::kStarting, RenderEvent::kStopBegins, RenderState::kStopping},
    {RenderState::kTurning, RenderEvent::kStopBegins, RenderState::kStopping},
    {RenderState::kShared, RenderEvent::kStopBegins, RenderState::kStoppingShared},
    {RenderState::kStopping, RenderEvent::kThreadEnds, RenderState::kEnded},
    {RenderState::kStoppingShared, RenderEvent::kThreadEnds, RenderState::kEndedShared},
    {RenderState::kEnded, RenderEvent::kThreadJoined, RenderState::kNone},
    {RenderState::kEndedShared, RenderEvent::kThreadJoined, RenderState::kNone},
};
