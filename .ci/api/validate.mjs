// Validates the references of docs/: whether they are OpenAPI 3.1 and AsyncAPI 3.0, and whether all they refer to is
// there. Usage: validate.mjs HTTP-API.yaml BUS-API.yaml
import { readFile } from "node:fs/promises";
import asyncapi from "@asyncapi/parser";
import { Validator } from "@seriousme/openapi-schema-validator";

let failures = 0;

function fail(file, problem) {
  console.error(`${file}: ${problem}`);
  ++failures;
}

async function checkHttp(file) {
  const validator = new Validator();
  const result = await validator.validate(file);
  if (!result.valid)
    return fail(file, JSON.stringify(result.errors, null, 2));
  if (validator.version !== "3.1")
    fail(file, `this is OpenAPI ${validator.version}`);
  validator.resolveRefs();
}

async function checkBus(file) {
  const { document, diagnostics } = await new asyncapi.Parser().parse(await readFile(file, "utf8"));
  for (const { code, message, path } of diagnostics) {
    if (code !== "asyncapi-latest-version")
      fail(file, `/${path.join("/")}: ${message}`);
  }
  if (document && document.version() !== "3.0.0")
    fail(file, `this is AsyncAPI ${document.version()}`);
}

const [http, bus] = process.argv.slice(2);
await checkHttp(http);
await checkBus(bus);
process.exitCode = failures > 0 ? 1 : 0;
