// The two displays: pictures, outlines, the pixel under the pointer, choosing an object by a click.

import { on } from './link.js';
import { objects, chosen, choose, labelOf } from './objects.js';

const WIDTH = 1152;
const HEIGHT = 576;

const canvases = [...document.querySelectorAll('#displays canvas')];
const reader = document.getElementById('reader');
const hint = reader.innerHTML;

// The surface as it came: outlines are drawn over the displays only.
const surface = new OffscreenCanvas(2 * WIDTH, HEIGHT);
const surfaceContext = surface.getContext('2d', { willReadFrequently: true, alpha: false });

const rem = () => parseFloat(getComputedStyle(document.documentElement).fontSize);

let exact = false;
let outlines = false;
let pointer = null; // on the surface
const shownAt = []; // times of the last pictures, for their rate

export function toggleOutlines() {
	outlines = !outlines;
	draw();
	return outlines;
}

export function pictureRate() {
	const now = performance.now();
	while (shownAt.length && now - shownAt[0] > 2000) shownAt.shift();
	return shownAt.length / 2;
}

function contains([x, y, width, height], point) {
	return point.x >= x && point.x < x + width && point.y >= y && point.y < y + height;
}

// From top to bottom. An object is drawn on its own display only.
export function objectsAt(point) {
	const viewport = point.x < WIDTH ? 0 : 1;
	return objects()
		.filter((object) => object.rect && object.viewport === viewport && contains(object.rect, point))
		.reverse();
}

function drawOutline(context, object, isChosen) {
	const scale = (WIDTH / context.canvas.clientWidth) * rem() / 12; // as large as the page's text
	const [x, y, width, height] = object.rect;
	context.lineWidth = (isChosen ? 2 : 1) * scale;
	context.strokeStyle = 'rgb(0 0 0 / 60%)';
	context.setLineDash([]);
	context.strokeRect(x - (object.viewport ? WIDTH : 0), y, width, height);
	context.strokeStyle = isChosen ? '#6cf' : '#fc6';
	context.setLineDash(isChosen ? [] : [4 * scale, 3 * scale]);
	context.strokeRect(x - (object.viewport ? WIDTH : 0), y, width, height);
	context.setLineDash([]);
	context.font = `${11 * scale}px monospace`;
	const label = labelOf(object);
	const left = Math.max(0, x - (object.viewport ? WIDTH : 0));
	const top = Math.max(0, y);
	context.fillStyle = 'rgb(0 0 0 / 65%)';
	context.fillRect(left, top, context.measureText(label).width + 8 * scale, 16 * scale);
	context.fillStyle = context.strokeStyle;
	context.fillText(label, left + 4 * scale, top + 12 * scale);
}

export function draw() {
	canvases.forEach((canvas, viewport) => {
		const context = canvas.getContext('2d', { alpha: false });
		context.drawImage(surface, viewport * WIDTH, 0, WIDTH, HEIGHT, 0, 0, WIDTH, HEIGHT);
		for (const object of objects()) {
			if (!object.rect || object.viewport !== viewport) continue;
			const isChosen = object.id === chosen();
			if (outlines || isChosen) drawOutline(context, object, isChosen);
		}
	});
}

function element(tag, name, text) {
	const result = document.createElement(tag);
	if (name) result.className = name;
	if (text !== undefined) result.textContent = text;
	return result;
}

function readPixel() {
	if (!pointer) {
		reader.innerHTML = hint;
		return;
	}
	const { x, y } = pointer;
	const viewport = x < WIDTH ? 0 : 1;
	const parts = [element('span', 'place', `VP_LCD${viewport}  ${x - viewport * WIDTH}, ${y}`)];
	if (exact) {
		const [red, green, blue] = surfaceContext.getImageData(x, y, 1, 1).data;
		const hex = [red, green, blue].map((value) => value.toString(16).padStart(2, '0')).join('');
		const swatch = element('span', 'swatch');
		swatch.style.background = `#${hex}`;
		parts.push(swatch, element('span', 'colour', `#${hex}  ${red} ${green} ${blue}`));
	}
	const stack = element('span', 'stack');
	const found = objectsAt(pointer);
	found.forEach((object, index) => {
		if (index) stack.append(' / ');
		stack.append(index ? labelOf(object) : element('b', '', labelOf(object)));
	});
	if (!found.length) stack.textContent = 'no object';
	reader.replaceChildren(...parts, stack);
}

function pointOf(event) {
	const canvas = event.currentTarget;
	const box = canvas.getBoundingClientRect();
	const clamp = (value, most) => Math.max(0, Math.min(most - 1, Math.floor(value)));
	return {
		x: clamp(((event.clientX - box.left) / box.width) * WIDTH, WIDTH) + canvas.dataset.viewport * WIDTH,
		y: clamp(((event.clientY - box.top) / box.height) * HEIGHT, HEIGHT),
	};
}

// The topmost object, and by another click at the same place the one below it.
function chooseAt(point) {
	const found = objectsAt(point).map((object) => object.id);
	choose(found.length ? found[(found.indexOf(chosen()) + 1) % found.length] : null);
}

for (const canvas of canvases) {
	canvas.addEventListener('pointermove', (event) => {
		pointer = pointOf(event);
		readPixel();
	});
	canvas.addEventListener('pointerleave', () => {
		pointer = null;
		readPixel();
	});
	canvas.addEventListener('click', (event) => chooseAt(pointOf(event)));
}

on('picture', (image, frame, isExact) => {
	surfaceContext.drawImage(image, 0, 0);
	exact = isExact;
	shownAt.push(performance.now());
	document.body.dataset.picture = `${frame} ${isExact ? 'exact' : 'live'}`;
	draw();
	readPixel();
});
on('chosen', draw);
