// The last 1000 frames as a graph, one bar a frame, and the calls of the one that is chosen.

import { on } from './link.js';
import { bytesText } from './objects.js';

const KEPT = 1000;
const HEADROOM = 1.25; // of the slowest frames that fit

const canvas = document.getElementById('graph');
const calls = document.getElementById('calls');
const tab = document.getElementById('tab-calls');

const frames = [];
let chosenFrame = null; // the message; null: the newest
let stale = false;

const style = getComputedStyle(document.documentElement);
const colour = (name) => style.getPropertyValue(`--${name}`).trim();

const decoding = (frame) => (frame.decoded ?? []).reduce((sum, file) => sum + (file.ms ?? 0), 0);

// Twice the middle one, but never what a frame may take: 60 turns of a second would all be late.
export function isLate(frame, middle) {
	return frame.turn_ms > Math.max(2 * middle, 40);
}

function quantile(values, share) {
	if (!values.length) return 0;
	const sorted = [...values].sort((a, b) => a - b);
	return sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * share))];
}

function fit() {
	const ratio = window.devicePixelRatio;
	const width = Math.round(canvas.clientWidth * ratio);
	const height = Math.round(canvas.clientHeight * ratio);
	if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, { width, height });
}

const barWidth = () => canvas.width / KEPT;

function drawScale(context, scale, most) {
	const step = [5, 10, 20, 50, 100, 200, 500, 1000, 2000].find((value) => most / value <= 4) ?? 5000;
	context.strokeStyle = colour('line');
	context.fillStyle = colour('muted');
	context.lineWidth = 1;
	context.font = `${0.85 * parseFloat(style.fontSize) * window.devicePixelRatio}px monospace`;
	context.textAlign = 'right';
	for (let value = step; value < most; value += step) {
		const y = Math.round(canvas.height - value * scale) + 0.5;
		context.beginPath();
		context.moveTo(0, y);
		context.lineTo(canvas.width, y);
		context.stroke();
		context.fillText(`${value} ms`, canvas.width - 3, y - 3);
	}
}

function drawBar(context, frame, x, width, scale, middle) {
	const bar = (value, from, name) => {
		context.fillStyle = colour(name);
		context.fillRect(x, canvas.height - (from + value) * scale, width, value * scale);
	};
	const turn = frame.turn_ms ?? 0;
	if (frame.committed === false) {
		context.strokeStyle = colour('turn');
		context.strokeRect(x + 0.5, canvas.height - turn * scale + 0.5, Math.max(width - 1, 1), turn * scale);
	} else {
		bar(turn, 0, 'turn');
	}
	bar(Math.min(frame.draw_ms ?? 0, turn), 0, 'draw');
	bar(Math.min(frame.swap_ms ?? 0, turn), frame.draw_ms ?? 0, 'swap');
	bar(Math.min(decoding(frame), turn), 0, 'decode');
	if (isLate(frame, middle)) {
		context.fillStyle = colour('bad');
		context.fillRect(x, 0, width, 3 * window.devicePixelRatio);
	}
}

function draw() {
	stale = false;
	fit();
	const context = canvas.getContext('2d');
	context.clearRect(0, 0, canvas.width, canvas.height);
	const turns = frames.map((frame) => frame.turn_ms ?? 0);
	const middle = quantile(turns, 0.5);
	const most = Math.max(quantile(turns, 0.99) * HEADROOM, 8);
	const scale = canvas.height / most;
	drawScale(context, scale, most);
	const width = barWidth();
	const gap = width > 3 ? 1 : 0;
	frames.forEach((frame, index) => {
		const x = (KEPT - frames.length + index) * width;
		drawBar(context, frame, x, Math.max(width - gap, 1), scale, middle);
		if (frame === chosenFrame) {
			context.fillStyle = colour('accent');
			context.fillRect(x, 0, Math.max(width, 2), canvas.height);
		}
	});
}

function drawSoon() {
	if (stale) return;
	stale = true;
	requestAnimationFrame(draw);
}

// ---- Calls ----

function item(text, name) {
	const result = document.createElement('li');
	const [call, comment] = text.split('  // ');
	result.textContent = call;
	if (name) result.className = name;
	if (comment) result.append(Object.assign(document.createElement('span'), { className: 'comment', textContent: `  ${comment}` }));
	return result;
}

const milliseconds = (value) => (value === undefined ? '–' : `${value.toFixed(1)} ms`);

function showCalls(frame) {
	const head = document.createElement('h3');
	const times = [`turn ${milliseconds(frame.turn_ms)}`];
	if (frame.draw_ms !== undefined) times.push(`draw ${milliseconds(frame.draw_ms)}`);
	if (frame.swap_ms !== undefined) times.push(`swap ${milliseconds(frame.swap_ms)}`);
	head.textContent = `Frame ${frame.frame} `;
	head.append(Object.assign(document.createElement('span'), { className: 'muted', textContent: times.join(', ') + (frame.committed === false ? ', nothing committed' : '') }));
	const list = document.createElement('ol');
	for (const call of frame.calls ?? []) list.append(item(call.text ?? call));
	for (const file of frame.decoded ?? []) list.append(item(`${file.file}  decoded in ${milliseconds(file.ms)}, ${bytesText(file.bytes)}`, 'decoded'));
	if (!list.children.length) list.append(item('no calls', 'comment'));
	calls.replaceChildren(head, list);
}

function chooseFrame(frame) {
	chosenFrame = frame;
	if (frame) showCalls(frame);
	else if (frames.length) showCalls(frames.at(-1));
	drawSoon();
}

function frameAt(event) {
	const box = canvas.getBoundingClientRect();
	const place = Math.floor(((event.clientX - box.left) / box.width) * KEPT) - (KEPT - frames.length);
	return frames[place] ?? null;
}

canvas.addEventListener('click', (event) => {
	chooseFrame(frameAt(event));
	tab.click();
});
tab.addEventListener('click', () => chooseFrame(chosenFrame));
canvas.addEventListener('pointermove', (event) => {
	const frame = frameAt(event);
	canvas.title = frame ? `frame ${frame.frame}: ${milliseconds(frame.turn_ms)}` : '';
});
new ResizeObserver(drawSoon).observe(canvas);
matchMedia('(prefers-color-scheme: dark)').addEventListener('change', drawSoon);

on('frame', (message) => {
	const kept = { ...message, objects: undefined };
	frames.push(kept);
	if (frames.length > KEPT && frames.shift() === chosenFrame) chosenFrame = null;
	if (!chosenFrame && !calls.hidden) showCalls(kept);
	drawSoon();
});

export const newestFrame = () => frames.at(-1);
export const releaseFrame = () => chooseFrame(null);
