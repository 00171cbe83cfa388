"use strict";

const js = require("@eslint/js");
const html = require("eslint-plugin-html");
const globals = require("globals");

// The pages are read as they are built, because their scripts share their names.
module.exports = [
	{
		files: ["**/*.html"],
		plugins: { html },
		languageOptions: { sourceType: "script", globals: globals.browser },
		linterOptions: { reportUnusedDisableDirectives: "error" },
		rules: {
			...js.configs.recommended.rules,
			eqeqeq: "error",
			"max-len": ["error", { code: 120, tabWidth: 4, ignoreStrings: true }],
			"max-lines-per-function": ["error", 50],
			"no-implicit-coercion": "error",
			"no-shadow": "error",
			"no-unused-vars": ["error", { vars: "local" }],
			"no-use-before-define": ["error", { functions: false, classes: false, variables: false }],
			"no-var": "error",
			"prefer-const": "error",
			"prefer-template": "error",
			strict: ["error", "global"],
		},
	},
];
