// The scene's text. It is the file's, until somebody types; the reader's complaint stands at its
// line.

import { on, send } from './link.js';

const place = document.getElementById('scene');
const save = document.getElementById('save');
const dirty = document.getElementById('dirty');

let editor = null;
let text = ''; // of the file
let fault = null;
let widget = null;

const isChanged = () => editor.getValue() !== text;

function showChange() {
	save.disabled = !isChanged();
	dirty.textContent = isChanged() ? 'not saved' : '';
}

function open() {
	editor = CodeMirror(place, {
		mode: { name: 'javascript', json: true },
		lineNumbers: true,
		indentWithTabs: true,
		indentUnit: 4,
		tabSize: 4,
		extraKeys: { 'Ctrl-S': saveScene, 'Cmd-S': saveScene, Esc: () => editor.getInputField().blur() },
	});
	editor.on('change', showChange);
}

export function saveScene() {
	if (editor && isChanged()) send('save', { text: editor.getValue() });
}

export const focusEditor = () => editor?.focus();
export const refreshEditor = () => editor?.refresh();

function clearFault() {
	widget?.clear();
	widget = null;
	if (fault !== null) editor.removeLineClass(fault, 'background', 'fault-line');
	fault = null;
}

function showFault(message) {
	clearFault();
	if (!message.text) return;
	const line = Math.min(Math.max(message.line - 1, 0), editor.lineCount() - 1);
	fault = editor.addLineClass(line, 'background', 'fault-line');
	const note = Object.assign(document.createElement('div'), { className: 'fault', textContent: message.text });
	widget = editor.addLineWidget(line, note);
	editor.scrollIntoView({ line, ch: 0 }, 60);
}

on('scene', (message) => {
	if (!editor) open();
	const isOurs = !isChanged() || editor.getValue() === message.text;
	text = message.text;
	if (isOurs && editor.getValue() !== text) {
		const { left, top } = editor.getScrollInfo();
		const cursor = editor.getCursor();
		editor.setValue(text);
		editor.setCursor(cursor, undefined, { scroll: false });
		editor.scrollTo(left, top);
		editor.clearHistory();
	}
	showChange();
	if (!isOurs) dirty.textContent = 'not saved, and changed by another editor';
});
on('scene-error', showFault);
save.addEventListener('click', saveScene);
