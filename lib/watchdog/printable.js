'use strict';

/**
 * A text that is safe to print in a terminal or a log, on one line. Characters that are not visible are replaced by
 * their numbers, for example \u{1b}: line ends, terminal escapes, and characters that turn the direction of the text.
 * A long text is cut.
 */
exports.printable = (text, most = 200) => {
  const characters = [...text.slice(0, 2 * most)];
  const shown = characters.slice(0, most).join('')
    .replace(/[\p{C}\p{Zl}\p{Zp}]/gu, (character) => `\\u{${character.codePointAt(0).toString(16)}}`);
  return characters.length > most || text.length > 2 * most ? `${shown}...` : shown;
};
