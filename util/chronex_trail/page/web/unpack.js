// The data blocks of the page: compressed members in base64.

function bytesOfBase64(text) {
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(text);
  const binary = atob(text);
  const bytes = new Uint8Array(binary.length);
  for (let i = 0; i < bytes.length; ++i) bytes[i] = binary.charCodeAt(i);
  return bytes;
}

async function unpackMember(text) {
  const packed = new Blob([bytesOfBase64(text)]).stream();
  const stream = packed.pipeThrough(new DecompressionStream('gzip'));
  return new Uint8Array(await new Response(stream).arrayBuffer());
}

// The text of a block.
async function unpackText(block) {
  const members = block.textContent.split(' ');
  const parts = await Promise.all(members.map(unpackMember));
  return new Blob(parts).text();
}

function blocksOf(kind) {
  return [...document.querySelectorAll(`script[data-kind="${kind}"]`)];
}

async function unpackAll(kind) {
  const texts = await Promise.all(blocksOf(kind).map(unpackText));
  return texts.map((text) => JSON.parse(text));
}
