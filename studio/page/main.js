// The page's controls: what the program does, and the orders that it gets.

import { connect, on, send } from './link.js';
import { draw, pictureRate, toggleOutlines } from './displays.js';
import { bytesText, choose, chooseNext, objects, onChoice } from './objects.js';
import { newestFrame, releaseFrame } from './timeline.js';
import { focusEditor, refreshEditor, saveScene } from './editor.js';

const $ = (id) => document.getElementById(id);

let state = { program: 'connecting' };
let isLost = false;
let fault = ''; // of the scene

const isScene = () => state.kind === 'scene';
const isRunning = () => state.program === 'running';
const frame = () => newestFrame()?.frame ?? 0;

// ---- State ----

const words = { running: 'running', paused: 'paused', ended: 'ended', crashed: 'crashed', connecting: 'connecting' };

function showState() {
	const shown = isLost ? 'lost' : state.program;
	const over = isLost || state.program === 'ended' || state.program === 'crashed';
	document.body.classList.toggle('scene', isScene());
	$('title').textContent = state.title || 'studio';
	document.title = `${state.title || 'studio'} – ${shown}`;
	$('state').textContent = isLost ? 'the host has gone' : words[state.program] ?? state.program;
	$('state').className = `chip ${shown}`;
	$('trouble').textContent = $('trouble').title = fault || (state.text ?? '');
	$('play').textContent = isRunning() ? 'Pause' : 'Play';
	$('record').setAttribute('aria-pressed', String(Boolean(state.recording)));
	$('record').textContent = state.recording ? 'Stop' : 'Record';
	for (const id of ['play', 'step', 'speed', 'record', 'first', 'back', 'seek', 'seek-number']) $(id).disabled = over;
	if (state.speed) $('speed').value = String(state.speed);
	showSeek();
}

function showSeek() {
	if (!isScene()) return;
	const last = Math.max(0, (state.frames ?? 1) - 1);
	const limit = state.seek_limit ?? last;
	$('seek').max = $('seek-number').max = limit;
	$('seek-end').textContent = `of ${last}`;
	$('loop').textContent = state.loop ? `${state.loop[0]} … ${state.loop[1]}` : '';
	$('loop-off').hidden = !state.loop;
	$('live').hidden = !state.live;
	$('live').textContent = `a stream plays live from frame ${limit} on: no seeking past it`;
}

function showFigures() {
	const newest = newestFrame();
	if (newest) {
		$('frame').textContent = newest.frame;
		$('turn').textContent = newest.turn_ms === undefined ? '–' : `${newest.turn_ms.toFixed(1)} ms`;
		$('bytes').textContent = bytesText(newest.texture_bytes);
		$('count').textContent = objects().length;
	}
	$('rate').textContent = `${pictureRate().toFixed(1)}/s`;
}

on('state', (message) => {
	state = message;
	showState();
	showFigures();
});
on('frame', (message) => {
	$('frame').textContent = message.frame;
	if (document.activeElement !== $('seek-number')) $('seek-number').value = message.frame;
	if (!$('seek').matches(':active')) $('seek').value = message.frame;
	document.body.dataset.frame = message.frame;
});
on('scene-error', ({ line, text }) => {
	fault = text && (line ? `line ${line}: ${text}` : text);
	showState();
});
on('lost', () => {
	isLost = true;
	showState();
});
on('file', ({ name }) => {
	Object.assign(document.createElement('a'), { href: name, download: name }).click();
});
setInterval(showFigures, 250);

// ---- Findings ----

let findings = 0;

function part(name, text) {
	return Object.assign(document.createElement('div'), { className: name, textContent: text });
}

on('finding', (finding) => {
	const box = $('findings');
	if (!findings++) box.replaceChildren(document.createElement('ol'));
	const item = document.createElement('li');
	const object = finding.object === null || finding.object === undefined ? '' : `, object ${finding.object}`;
	item.append(
		part('wrong', finding.wrong),
		part('do', finding.do),
		part('place', `frame ${finding.frame}, ${finding.call}${object} · ${finding.cause}`),
	);
	box.firstChild.append(item);
	$('finding-count').textContent = findings;
	$('finding-count').hidden = false;
});

// ---- Tabs ----

const tabs = [...document.querySelectorAll('[role="tab"]')];

function showTab(tab) {
	for (const other of tabs) {
		const isShown = other === tab;
		other.setAttribute('aria-selected', String(isShown));
		$(other.getAttribute('aria-controls')).hidden = !isShown;
	}
	const isEditor = tab.id === 'tab-scene';
	$('save').hidden = $('dirty').hidden = !isEditor;
	if (isEditor) refreshEditor();
}
for (const tab of tabs) tab.addEventListener('click', () => showTab(tab));

let hasTab = false;
on('state', () => {
	if (!hasTab) showTab(isScene() ? $('tab-scene') : $('tab-calls'));
	hasTab = true;
});

// ---- Orders ----

const playOrPause = () => send(isRunning() ? 'pause' : 'continue');
const seek = (target) => isScene() && send('seek', { frame: Math.max(0, Math.min(state.seek_limit ?? 0, target)) });
const back = (count) => {
	if (isRunning()) send('pause');
	seek(frame() - count);
};
const forward = (count) => (count === 1 || !isScene() ? send('step') : seek(frame() + count));
const record = () => send('record', { on: !state.recording });
const setOutlines = () => $('outlines').setAttribute('aria-pressed', String(toggleOutlines()));
const loop = (from, to) => send('loop', { from, to });
const loopFrom = () => loop(frame(), Math.max(state.loop?.[1] ?? 0, 0) > frame() ? state.loop[1] : state.seek_limit);
const loopTo = () => loop(state.loop && state.loop[0] < frame() ? state.loop[0] : 0, frame());

function changeSpeed(step) {
	const list = $('speed');
	const index = Math.max(0, Math.min(list.options.length - 1, list.selectedIndex + step));
	send('speed', { factor: Number(list.options[index].value) });
	list.selectedIndex = index;
}

$('play').addEventListener('click', playOrPause);
$('step').addEventListener('click', () => forward(1));
$('back').addEventListener('click', () => back(1));
$('first').addEventListener('click', () => seek(0));
$('speed').addEventListener('change', () => changeSpeed(0));
$('seek').addEventListener('input', () => seek(Number($('seek').value)));
$('seek-number').addEventListener('change', () => seek(Number($('seek-number').value)));
$('loop-from').addEventListener('click', loopFrom);
$('loop-to').addEventListener('click', loopTo);
$('loop-off').addEventListener('click', () => loop(0, 0));
$('outlines').addEventListener('click', setOutlines);
$('snapshot').addEventListener('click', () => send('snapshot'));
$('record').addEventListener('click', record);
$('report').addEventListener('click', () => send('report'));
$('help').addEventListener('click', () => $('keys').showModal());
onChoice(draw);

// ---- Keys ----

function escape() {
	choose(null);
	releaseFrame();
}

const keys = {
	' ': playOrPause,
	'.': () => forward(1),
	ArrowRight: (event) => forward(event.shiftKey ? 25 : 1),
	ArrowLeft: (event) => back(event.shiftKey ? 25 : 1),
	ArrowUp: () => chooseNext(-1),
	ArrowDown: () => chooseNext(1),
	Home: () => seek(0),
	End: () => seek(state.seek_limit ?? 0),
	'-': () => changeSpeed(1),
	'+': () => changeSpeed(-1),
	'[': loopFrom,
	']': loopTo,
	'\\': () => loop(0, 0),
	o: setOutlines,
	s: () => send('snapshot'),
	r: record,
	e: () => {
		showTab($('tab-scene'));
		focusEditor();
	},
	c: () => showTab($('tab-calls')),
	f: () => showTab($('tab-findings')),
	'?': () => $('keys').showModal(),
	Escape: escape,
};

// What has keys of its own: the editor, numbers, an open list.
const typesIn = (target) => target.closest('.CodeMirror, select, input[type="number"], dialog');

document.addEventListener('keydown', (event) => {
	if ((event.ctrlKey || event.metaKey) && event.key === 's') {
		event.preventDefault();
		saveScene();
		return;
	}
	if (event.ctrlKey || event.metaKey || event.altKey || typesIn(event.target)) return;
	if (event.key === 'e' && !isScene()) return;
	const action = keys[event.key];
	if (!action) return;
	event.preventDefault();
	event.target.blur?.();
	action(event);
});

connect();
