import { translate } from "./translate.ts";

Deno.serve(translate);
