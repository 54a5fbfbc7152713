'use strict';

/** The machine in a few lines: its identifier, processor and system, and whether debug mode is on. */
exports.tour = async (util, print) => {
  const id = util.getGuid();
  print(`Machine identifier: ${id}`);
  print(`Processor:          ${util.getCpuName() || '(Windows has no name for it)'}`);
  print(`Windows:            ${util.getOsVersionWithReleaseId()}`);
  print(`Debug mode:         ${util.isDebugMode() ? 'on' : 'off, as in every release build'}`);

  // Each field has a tag, so the identifier shows which facts it has.
  const [, processor, disk, mac, volume] = id.match(/^C_(.*)-D_(.*)-M_(.*)-V_(.*)$/);
  const missing = [
    processor === '0' && 'a processor serial number (hardly any processor has one)',
    !disk && 'a disk serial number',
    !mac && 'the address of a physical network adapter',
    !volume && 'the serial number of volume C',
  ].filter(Boolean);
  print(missing.length ? `This machine does not report ${missing.join(', ')}.` : 'This machine reports all four.');
};
