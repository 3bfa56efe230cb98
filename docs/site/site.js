"use strict";

/* ---- Dark or light: the system's choice until the button is used ------------------------------ */

function stored(key, value) {
	try { // a browser may keep nothing for a file
		if (value) localStorage.setItem(key, value);
		return localStorage.getItem(key);
	} catch {
		return null;
	}
}
const root = document.documentElement;
if (stored("theme")) root.dataset.theme = stored("theme");
document.getElementById("theme").onclick = () => {
	const dark = root.dataset.theme ? root.dataset.theme === "dark"
		: matchMedia("(prefers-color-scheme: dark)").matches;
	root.dataset.theme = dark ? "light" : "dark";
	stored("theme", root.dataset.theme);
};

/* ---- Code: colours, and a button that copies -------------------------------------------------- */

const WORDS = /^(?:if|else|for|while|return|static|const|constexpr|unsigned|int|float|char|void|bool|struct|enum|typedef|extern|auto|true|false|NULL|nullptr|using|namespace|class|template)$/;
const TOKENS = /(\/\*[\s\S]*?\*\/|\/\/[^\n]*)|("(?:[^"\\\n]|\\.)*")|([A-Za-z_]\w*)|(\b\d[\w.]*)/g;

function coloured(code) {
	const result = document.createDocumentFragment();
	let end = 0;
	for (const token of code.matchAll(TOKENS)) {
		const kind = token[1] ? "c1" : token[2] ? "s" : token[4] ? "n" : WORDS.test(token[3]) ? "k" : null;
		if (!kind) continue;
		result.append(code.slice(end, token.index));
		const span = document.createElement("span");
		span.className = kind;
		span.textContent = token[0];
		result.append(span);
		end = token.index + token[0].length;
	}
	result.append(code.slice(end));
	return result;
}

async function copy(text) {
	try {
		await navigator.clipboard.writeText(text);
	} catch { // a page from a file may not be allowed to
		const area = document.createElement("textarea");
		area.value = text;
		document.body.append(area);
		area.select();
		document.execCommand("copy");
		area.remove();
	}
}

for (const code of document.querySelectorAll("pre > code")) {
	const text = code.textContent;
	if (/\b(?:c|json|language-(?:c|cpp|json))\b/.test(code.className)) code.replaceChildren(coloured(text));
	const button = document.createElement("button");
	button.className = "copy";
	button.textContent = "Copy";
	button.onclick = async () => {
		await copy(text);
		button.textContent = "Copied";
		setTimeout(() => { button.textContent = "Copy"; }, 1500);
	};
	code.parentNode.append(button);
}

/* ---- Gallery: a loop begins when it is seen, a click shows its texts -------------------------- */

const seen = new IntersectionObserver(entries => {
	for (const { isIntersecting, target } of entries) {
		if (!isIntersecting) continue;
		target.src = target.dataset.loop;
		seen.unobserve(target);
	}
}, { rootMargin: "100px" });
for (const image of document.querySelectorAll("img[data-loop]")) seen.observe(image);
for (const loop of document.querySelectorAll(".loop")) {
	const button = loop.querySelector("button.show");
	const toggle = () => { button.ariaExpanded = String(loop.classList.toggle("open")); };
	button.onclick = toggle;
	loop.querySelector("img").onclick = toggle;
}

/* ---- Search: all words, in the title before the text. The index comes with the first use. ------- */

const field = document.getElementById("search"), list = document.getElementById("found");

function withIndex(then) {
	if (window.searchIndex) return then();
	const script = document.createElement("script");
	script.src = "search.js";
	script.onload = then;
	document.head.append(script);
}

function score(words, [title, , text]) {
	let sum = 0;
	const head = title.toLowerCase(), body = text.toLowerCase();
	for (const word of words) {
		const value = head === word ? 100 : head.startsWith(word) ? 20 : head.includes(word) ? 10 : body.includes(word) ? 1 : 0;
		if (!value) return 0;
		sum += value;
	}
	return sum;
}

function show() {
	const words = field.value.toLowerCase().split(/\s+/).filter(Boolean);
	const hits = window.searchIndex.map(entry => [score(words, entry), entry])
		.filter(([value]) => words.length && value).sort((a, b) => b[0] - a[0]).slice(0, 12);
	list.replaceChildren(...hits.map(([, [title, link, text]]) => {
		const a = document.createElement("a"), small = document.createElement("small"), li = document.createElement("li");
		a.href = link;
		const at = Math.max(0, text.toLowerCase().indexOf(words[0]) - 20);
		small.textContent = (at ? "… " : "") + text.slice(at, at + 120);
		a.append(title, small);
		a.onclick = () => { list.hidden = true; };
		li.append(a);
		return li;
	}));
	if (!hits.length && words.length) list.textContent = "Nothing found";
	list.hidden = !words.length;
}

field.oninput = () => withIndex(show);
field.onkeydown = event => {
	const links = [...list.querySelectorAll("a")];
	let at = links.findIndex(link => link.className);
	if (event.key === "Escape") list.hidden = true;
	if (event.key === "Enter" && links.length) links[Math.max(at, 0)].click();
	if (event.key !== "ArrowDown" && event.key !== "ArrowUp" || !links.length) return;
	event.preventDefault();
	if (at >= 0) links[at].className = "";
	at = (at + (event.key === "ArrowDown" ? 1 : links.length - 1)) % links.length;
	links[Math.max(at, 0)].className = "chosen";
};
document.addEventListener("keydown", event => {
	if (event.key !== "/" || event.target === field) return;
	event.preventDefault();
	field.focus();
});
document.addEventListener("click", event => {
	if (!event.target.closest("header")) list.hidden = true;
});
