import { parse } from "./json.ts";

/** Whether a text has the form of a user's access token: a JSON Web Token about somebody. The public key is about nobody. */
function canBeToken(text: string): boolean {
  const [, claims] = /^[\w-]+\.([\w-]+)\.[\w-]+$/.exec(text) ?? [];
  try {
    return !!claims && typeof parse(atob(claims.replaceAll("-", "+").replaceAll("_", "/")))?.sub === "string";
  } catch {
    return false;
  }
}

/**
 * The id of the user on whose behalf a request is made, as the project's Auth service says; undefined when the token is
 * none, or not valid. Rejects when the service does not answer.
 */
export async function userOf(request: Request): Promise<string | undefined> {
  const [, token] = /^Bearer +(\S+)$/i.exec(request.headers.get("Authorization") ?? "") ?? [];
  if (!token || !canBeToken(token)) return undefined;
  const response = await fetch(`${Deno.env.get("SUPABASE_URL")}/auth/v1/user`, {
    headers: {
      Authorization: `Bearer ${token}`,
      apikey: request.headers.get("apikey") ?? Deno.env.get("SUPABASE_ANON_KEY") ?? "",
    },
    signal: AbortSignal.timeout(5_000),
  });
  const body = await response.text();
  if (response.status === 401 || response.status === 403) return undefined;
  const id = parse(body)?.id;
  if (typeof id !== "string") throw new Error(`Auth: HTTP ${response.status}`);
  return id;
}
