'use strict';

/**
 * Reads the headers of a 64-bit executable or DLL in `image`, which is laid out as in memory: its
 * `dllCharacteristics`, `sections` ({ name, flags }), the names that it `exports`, and its `imports`
 * ({ library, name, slot }), of which `slot` is the offset of the function's address.
 */
exports.readExecutable = (image) => {
  const text = (at) => image.toString('latin1', at, image.indexOf(0, at));
  const header = image.readUInt32LE(0x3c);
  const optional = header + 24;
  if (text(header) !== 'PE' || image.readUInt16LE(optional) !== 0x20b) throw new Error('no 64-bit executable');
  const directory = (index) => image.readUInt32LE(optional + 112 + index * 8);

  const firstSection = optional + image.readUInt16LE(header + 20);
  const sections = Array.from({ length: image.readUInt16LE(header + 6) }, (_, index) => {
    const at = firstSection + index * 40;
    return { name: image.toString('latin1', at, at + 8).replace(/\0+$/, ''), flags: image.readUInt32LE(at + 36) };
  });

  const imports = [];
  for (let at = directory(1); image.readUInt32LE(at + 12) !== 0; at += 20) {
    const library = text(image.readUInt32LE(at + 12));
    const [names, slots] = [image.readUInt32LE(at), image.readUInt32LE(at + 16)];
    for (let offset = 0; image.readBigUInt64LE(names + offset) !== 0n; offset += 8) {
      imports.push({ library, name: text(Number(image.readBigUInt64LE(names + offset)) + 2), slot: slots + offset });
    }
  }
  const names = image.readUInt32LE(directory(0) + 32);
  const exports = Array.from({ length: image.readUInt32LE(directory(0) + 24) },
    (_, index) => text(image.readUInt32LE(names + index * 4)));
  return { dllCharacteristics: image.readUInt16LE(optional + 70), sections, exports, imports };
};
