// The connection to the host. It asks for more only when what came has been shown, so nothing ever
// queues up on the way.

const handlers = {};
let socket = null;

export function on(type, handler) {
	(handlers[type] ??= []).push(handler);
}

function tell(type, ...values) {
	for (const handler of handlers[type] ?? []) handler(...values);
}

export function send(command, values = {}) {
	if (socket?.readyState === WebSocket.OPEN) socket.send(JSON.stringify({ command, ...values }));
}

// One letter for the kind, the frame's number, the file.
async function showPicture(data) {
	const view = new DataView(data);
	const exact = view.getUint8(0) === 'P'.charCodeAt(0);
	const file = new Blob([new Uint8Array(data, 5)], { type: exact ? 'image/png' : 'image/jpeg' });
	const image = await createImageBitmap(file, { colorSpaceConversion: 'none', premultiplyAlpha: 'none' });
	tell('picture', image, view.getUint32(1, true), exact);
	image.close();
}

// Messages are taken one after the other, as decoding a picture takes a while.
let work = Promise.resolve();

async function take(data) {
	if (data instanceof ArrayBuffer) {
		await showPicture(data);
		return;
	}
	const message = JSON.parse(data);
	if (message.type === 'fed') await new Promise(requestAnimationFrame).then(() => send('more'));
	else tell(message.type, message);
}

export function connect() {
	const address = new URL('socket', location.href);
	address.protocol = 'ws:';
	socket = new WebSocket(address);
	socket.binaryType = 'arraybuffer';
	socket.onopen = () => send('more');
	socket.onmessage = (event) => {
		work = work.then(() => take(event.data)).catch((error) => console.error(error));
	};
	socket.onclose = () => tell('lost');
}
