// Checks a value against a schema of an OpenAPI 3.0 document: the part of it that the service's own
// description uses. A member that the schema does not name is an error too.

/** What is wrong, each with its place; empty when all is well. */
export function violations(document, schema, value, at = '$') {
  if (schema.$ref) return violations(document, schema.$ref.split('/').slice(1).reduce((node, key) => node[key], document), value, at);
  if (value === null) return schema.nullable ? [] : [`${at}: null`];
  if (schema.allOf) return schema.allOf.flatMap((part) => violations(document, part, value, at));
  if (schema.enum && !schema.enum.includes(value)) return [`${at}: ${JSON.stringify(value)} is none of ${schema.enum.join(', ')}`];
  const check = by_type[schema.type];
  return check ? check(document, schema, value, at) : [];
}

const by_type = {
  object: (document, schema, value, at) => {
    if (typeof value !== 'object' || Array.isArray(value)) return [`${at}: not an object`];
    const { properties, required = [] } = schema;
    if (!properties) return [];
    return [
      ...required.filter((name) => !(name in value)).map((name) => `${at}.${name}: missing`),
      ...Object.keys(value).filter((name) => !(name in properties)).map((name) => `${at}.${name}: not in the description`),
      ...Object.keys(value).filter((name) => name in properties)
        .flatMap((name) => violations(document, properties[name], value[name], `${at}.${name}`)),
    ];
  },
  array: (document, schema, value, at) =>
    Array.isArray(value)
      ? value.flatMap((item, i) => violations(document, schema.items ?? {}, item, `${at}[${i}]`))
      : [`${at}: not an array`],
  integer: (_, __, value, at) => (Number.isInteger(value) ? [] : [`${at}: ${JSON.stringify(value)} is not an integer`]),
  number: (_, __, value, at) => (Number.isFinite(value) ? [] : [`${at}: ${JSON.stringify(value)} is not a number`]),
  string: (_, __, value, at) => (typeof value === 'string' ? [] : [`${at}: not a string`]),
  boolean: (_, __, value, at) => (typeof value === 'boolean' ? [] : [`${at}: not a boolean`]),
};
