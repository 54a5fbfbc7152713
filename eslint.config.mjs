// ESLint's recommended rules for all scripts. "npm run lint" checks them.
import js from '@eslint/js';
import globals from 'globals';

export default [
  { ignores: ['build/', '**/node_modules/'] },
  js.configs.recommended,
  { languageOptions: { globals: globals.node }, linterOptions: { reportUnusedDisableDirectives: 'error' } },
  // { unwanted, ...others } is how a property is left out.
  { rules: { 'no-unused-vars': ['error', { ignoreRestSiblings: true }] } },
  { files: ['**/*.js'], languageOptions: { sourceType: 'commonjs' } },
];
