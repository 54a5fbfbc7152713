'use strict';

/**
 * Reads the headers of a 64-bit Windows executable or DLL: its `dllCharacteristics`, `sections` ({ name, flags }), the
 * names that it `exports`, and the DLLs that it `imports` from at load time.
 */
exports.readExecutable = (bytes) => {
  const text = (at) => bytes.toString('latin1', at, bytes.indexOf(0, at));
  const header = bytes.readUInt32LE(0x3c);
  const optional = header + 24;
  if (text(header) !== 'PE' || bytes.readUInt16LE(optional) !== 0x20b) throw new Error('no 64-bit executable');

  const firstSection = optional + bytes.readUInt16LE(header + 20);
  const sections = Array.from({ length: bytes.readUInt16LE(header + 6) }, (_, index) => {
    const at = firstSection + index * 40;
    return {
      name: bytes.toString('latin1', at, at + 8).replace(/\0+$/, ''),
      flags: bytes.readUInt32LE(at + 36),
      address: bytes.readUInt32LE(at + 12),
      size: bytes.readUInt32LE(at + 16),
      offset: bytes.readUInt32LE(at + 20),
    };
  });
  const offset = (address) => {
    const section = sections.find((one) => address >= one.address && address < one.address + one.size);
    return address - section.address + section.offset;
  };
  const directory = (index) => bytes.readUInt32LE(optional + 112 + index * 8);

  const exported = offset(directory(0));
  const names = offset(bytes.readUInt32LE(exported + 32));
  const imports = [];
  for (let at = offset(directory(1)); bytes.readUInt32LE(at + 12) !== 0; at += 20) {
    imports.push(text(offset(bytes.readUInt32LE(at + 12))));
  }
  return {
    dllCharacteristics: bytes.readUInt16LE(optional + 70),
    sections,
    exports: Array.from({ length: bytes.readUInt32LE(exported + 24) },
      (_, index) => text(offset(bytes.readUInt32LE(names + index * 4)))),
    imports,
  };
};
