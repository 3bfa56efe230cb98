// The list of objects, and every value of the chosen one.

import { on } from './link.js';

const body = document.querySelector('#objects tbody');
const details = document.querySelector('#details .scroll');

let list = [];
let chosenId = null;
const rows = new Map(); // by id
const watchers = [];

export const objects = () => list;
export const chosen = () => chosenId;
export const labelOf = (object) => (object.name ? `${object.id} ${object.name}` : `${object.id} ${object.kind}`);
export const onChoice = (watcher) => watchers.push(watcher);

export function choose(id) {
	chosenId = id;
	for (const [rowId, row] of rows) row.classList.toggle('chosen', rowId === id);
	rows.get(id)?.scrollIntoView({ block: 'nearest' });
	showDetails();
	for (const watcher of watchers) watcher();
}

export function chooseNext(step) {
	if (!list.length) return;
	const at = list.findIndex((object) => object.id === chosenId);
	const next = at < 0 ? (step > 0 ? 0 : list.length - 1) : Math.max(0, Math.min(list.length - 1, at + step));
	choose(list[next].id);
}

const short = (value) => (Math.round(value * 1000) / 1000).toString();

export function bytesText(bytes) {
	if (bytes === undefined || bytes === null) return '–';
	if (bytes < 1024) return `${bytes} B`;
	return bytes < 1 << 20 ? `${(bytes / 1024).toFixed(0)} KiB` : `${(bytes / (1 << 20)).toFixed(1)} MiB`;
}

const cells = [
	['number', (object) => object.id],
	['name', (object) => object.name ?? ''],
	['kind', (object) => object.kind],
	['', (object) => object.viewport],
	['status', (object) => object.status.map((bit) => bit.replace('ST_', '')).join(' ') || 'PREPARE'],
	['number', (object) => (object.curframeno === 65535 ? '–' : object.curframeno)],
	['number', (object) => object.cur_loopcnt],
	['number', (object) => short(object.alpha)],
	['', (object) => (object.rect ? object.rect.map((value) => Math.round(value)).join(' ') : 'not drawn')],
];

function makeRow(id) {
	const row = document.createElement('tr');
	for (const [name] of cells) row.insertCell().className = name;
	row.dataset.id = id;
	row.classList.toggle('chosen', id === chosenId);
	row.addEventListener('click', () => choose(id));
	return row;
}

function setText(node, text) {
	if (node.textContent !== text) node.textContent = text;
}

function fillRow(row, object) {
	row.classList.toggle('hidden', !object.rect);
	cells.forEach(([, text], index) => setText(row.cells[index], String(text(object))));
	row.title = object.status.join(' ');
}

function showList() {
	const present = new Set(list.map((object) => object.id));
	for (const [id, row] of rows) {
		if (present.has(id)) continue;
		row.remove();
		rows.delete(id);
	}
	list.forEach((object, index) => {
		let row = rows.get(object.id);
		if (!row) rows.set(object.id, (row = makeRow(object.id)));
		if (body.rows[index] !== row) body.insertBefore(row, body.rows[index] ?? null);
		fillRow(row, object);
	});
}

function colourText(colour) {
	return colour.map(short).join(' ');
}

function textureText(texture) {
	if (!texture.width) return `${texture.name}`;
	return `${texture.name}  ${texture.width} × ${texture.height} ${texture.format} ${bytesText(texture.bytes)}`;
}

function valuesOf(object) {
	const rect = object.rect;
	const values = [
		['id', object.id],
		['name', object.name],
		['kind', object.kind],
		['viewport', `VP_LCD${object.viewport}`],
		['status', object.status.join(' ') || 'ST_PREPARE'],
		['curframeno', object.curframeno],
		['cur_loopcnt', object.cur_loopcnt],
		['rectangle', rect ? `${rect[0] - (object.viewport ? 1152 : 0)}, ${rect[1]}  ${rect[2]} × ${rect[3]}` : 'not drawn'],
		['blending', object.blend],
		['render mode', object.render_mode],
		['alpha0', short(object.alpha)],
	];
	if (object.alpha1 !== undefined) values.push(['alpha1', short(object.alpha1)]);
	values.push(['colour', colourText(object.color), object.color]);
	(object.textures ?? []).forEach((texture, index) => values.push([`texture ${index}`, textureText(texture)]));
	return values.filter(([, value]) => value !== undefined);
}

let shownNames = '';

function buildDetails(values) {
	const parts = document.createElement('dl');
	for (const [name, , colour] of values) {
		const term = document.createElement('dt');
		term.textContent = name;
		const value = document.createElement('dd');
		if (colour) value.append(Object.assign(document.createElement('span'), { className: 'swatch' }));
		value.append(document.createTextNode(''));
		parts.append(term, value);
	}
	details.replaceChildren(parts);
}

function showDetails() {
	const object = list.find((candidate) => candidate.id === chosenId);
	if (!object) {
		shownNames = '';
		const text = chosenId === null ? 'Click an object in the list or on a display.' : `Object ${chosenId} is gone.`;
		details.innerHTML = '<p class="hint"></p>';
		details.firstChild.textContent = text;
		return;
	}
	const values = valuesOf(object);
	const names = values.map(([name]) => name).join();
	if (names !== shownNames) buildDetails(values);
	shownNames = names;
	const places = details.querySelectorAll('dd');
	values.forEach(([, value, colour], index) => {
		setText(places[index].lastChild, String(value));
		if (colour) {
			const [red, green, blue, alpha] = colour;
			places[index].firstChild.style.background = `rgb(${red * 255} ${green * 255} ${blue * 255} / ${alpha})`;
		}
	});
}

on('frame', (message) => {
	if (!message.objects) return;
	list = message.objects;
	showList();
	showDetails();
});
showDetails();
