/* The page's frame: style, then the script that goes at its end. */
#pragma once

constexpr char kPageStart[] = R"html(<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>Kept pictures</title>
<style>
:root { color-scheme: dark; --line: #363b47; --quiet: #9aa3b5; --hot: #ff8a66; }
body { margin: 0 auto; max-width: 1600px; padding: 1.5rem; background: #16181d; color: #e6e9ef;
       font: 16px/1.5 system-ui, sans-serif; }
h1 { font-size: 1.5rem; margin: 0 0 .3rem; }
h2 { font-size: 1.1rem; margin: 0; }
p { margin: .2rem 0; color: var(--quiet); }
.warning { color: var(--hot); }
section { margin-top: 1.5rem; padding: 1rem; border: 1px solid var(--line); border-radius: 8px; }
nav { margin: .6rem 0; display: flex; gap: .4rem; align-items: center; }
button { padding: .2rem .8rem; border: 1px solid var(--line); border-radius: 6px; background: none;
         color: inherit; font: inherit; cursor: pointer; }
button[aria-pressed=true] { background: #3b6ea8; border-color: #3b6ea8; }
input[type=range] { flex: 1; visibility: hidden; }
.slider input[type=range] { visibility: visible; }
.pictures { display: grid; grid-template-columns: 1fr 1fr 1fr; gap: .6rem; position: relative; }
figure { margin: 0; min-width: 0; }
figcaption { color: var(--quiet); font-size: .85rem; }
img { width: 100%; display: block; image-rendering: pixelated; background: #000; }
.flicker .pictures, .slider .pictures { grid-template-columns: 1fr; }
.flicker .difference, .slider .difference { display: none; }
.flicker .kept, .flicker .now, .slider .kept, .slider .now { grid-area: 1 / 1; }
.flicker .now { animation: flicker 1s steps(1) infinite; }
.slider .now { clip-path: inset(0 0 0 var(--at, 50%)); }
.slider .now figcaption { text-align: right; }
@keyframes flicker { 50% { opacity: 0; } }
table { border-collapse: collapse; margin-top: 1.5rem; }
td { padding: .1rem 1.2rem .1rem 0; color: var(--quiet); }
</style>
)html";

constexpr char kPageEnd[] = R"html(
<script>
for (const section of document.querySelectorAll("section")) {
	const buttons = section.querySelectorAll("button");
	for (const button of buttons)
		button.onclick = () => {
			section.className = button.value;
			for (const other of buttons)
				other.ariaPressed = other === button;
		};
	const range = section.querySelector("input");
	if (range)
		range.oninput = () => section.style.setProperty("--at", range.value + "%");
}
</script>
</html>
)html";
